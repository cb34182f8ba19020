// Listings of folders: as text, and as comma-separated rows.
#include "collect/CollectorUtil.h"
#include "collect/FileVersions.h"
#include "collect/FolderWalk.h"
#include "collect/ListedTime.h"
#include "log/FunctionLog.h"
#include "log/ResultLog.h"
#include "opdutility/OpdFileHelper.h"
#include "opdutility/OpdLogFile.h"
#include "platform/Path.h"

namespace
{

constexpr const wchar_t* CsvHeader = L"\"FileName\",\"FileVersion\",\"FileDescription\",\"Comments\",\"ProductName\","
                                     L"\"ProductVersion\",\"CompanyName\",\"LegalCopyright\","
                                     L"\"LegalTrademarks\",\"PrivateBuild\",\"SpecialBuild\",\"InternalName\","
                                     L"\"OriginalFilename\",\"CreationTime\",\"LastAccessTime\","
                                     L"\"LastWriteTime\",\"FileSize\",\"FileVersion\",\"FileAttributes\",\"FilePath\",";

constexpr CFormat<std::wstring, HRESULT> EnumFailed(L"COpdFileHelper::EnumFiles( \"%s\" ) failed. [0x%08X]");
constexpr CFormat<std::wstring, HRESULT> InfoFailed(L"COpdFileHelper::GetFileInfo( \"%s\" ) failed. [0x%08X]");

// The version that a listing shows; a failure leaves it empty.
std::wstring ModuleVersion(const CFileEntry& rFile)
{
    std::wstring sVersion;
    CCollectorUtil::GetTvmFileVersion(rFile.sPath, sVersion);
    return sVersion;
}
std::wstring ResourceVersion(const CFileVersions& rVersions)
{
    std::wstring sVersion;
    rVersions.GetVersion(sVersion);
    return sVersion;
}

// Joined with a pattern, an empty path would list the current folder.
void RequireDirPath(const CFunctionLog& log, const std::wstring& sDirPath)
{
    if (sDirPath.empty())
        log.Fail(E_INVALIDARG, L"sDirPath == empty");
}

// One text listing, folder by folder. What cannot be read is told in the report, where it is missing, and in the log.
class CTextListing
{
public:
    explicit CTextListing(CResultLog& rResultLog) : m_rResultLog(rResultLog) {}

    HRESULT List(const std::wstring& sDirPath)
    {
        CFunctionLog log("CCollectorUtil::OutputFileInfos");
        return log.Run([&] {
            RequireDirPath(log, sDirPath);
            const CFolderTrail::CVisit visit(m_Trail, sDirPath);
            if (!visit.Entered())
                return;
            m_rResultLog.WriteLine(L"");
            m_rResultLog.WriteLine(L"[%s]", sDirPath);
            CFolderContents contents;
            const HRESULT hr = ReadFolder(sDirPath, contents);
            if (FAILED(hr))
            {
                const std::wstring sPattern = JoinPath(sDirPath, L"*");
                m_rResultLog.WriteLine(EnumFailed, sPattern, hr);
                log.ThrowCode(hr, EnumFailed, sPattern);
            }
            for (const CFileEntry& rFile : contents.Files)
                WriteFile(log, rFile);
            for (const CFileEntry& rFolder : contents.Folders)
                List(rFolder.sPath); // its failure costs its own lines
        });
    }

private:
    void WriteFile(const CFunctionLog& log, const CFileEntry& rFile)
    {
        FILETIME Creation{}, Access{}, Write{};
        ULONGLONG ullSize = 0;
        const HRESULT hr = COpdFileHelper::GetFileInfo(rFile.sPath, Creation, Access, Write, ullSize);
        if (FAILED(hr))
        {
            m_rResultLog.WriteLine(InfoFailed, rFile.sPath, hr);
            log.Warning(InfoFailed, rFile.sPath, hr);
        }
        m_rResultLog.WriteLine(L"  \"%s\", size: %d, time: \"%s\", ver: \"%s\", attr: 0x%08X", rFile.sName,
                               static_cast<DWORD>(ullSize), ListedTime(Write),
                               CCollectorUtil::IsModuleFile(rFile.sName) ? ModuleVersion(rFile)
                                                                         : ResourceVersion(CFileVersions(rFile.sPath)),
                               rFile.dwAttributes);
    }

    CResultLog& m_rResultLog;
    CFolderTrail m_Trail;
};

// One CSV listing; the file is made when the first row is ready.
class CCsvListing
{
public:
    explicit CCsvListing(const std::wstring& sCsvPath) : m_sCsvPath(sCsvPath) {}

    HRESULT List(const std::wstring& sDirPath)
    {
        CFunctionLog log("CCollectorUtil::_OutputVlmFileList");
        return log.Run([&] {
            const CFolderTrail::CVisit visit(m_Trail, sDirPath);
            if (!visit.Entered())
                return;
            CFolderContents contents;
            log.Check(ReadFolder(sDirPath, contents), EnumFailed, JoinPath(sDirPath, L"*"));
            for (const CFileEntry& rFile : contents.Files)
                WriteRow(log, rFile);
            for (const CFileEntry& rFolder : contents.Folders)
            {
                // A subfolder that cannot be listed costs its own rows; a CSV that cannot be made ends the listing.
                List(rFolder.sPath);
                if (FAILED(m_hrOpen))
                    log.Throw(m_hrOpen);
            }
        });
    }

private:
    void WriteRow(const CFunctionLog& log, const CFileEntry& rFile)
    {
        std::wstring sCreation, sAccess, sWrite;
        ULONGLONG ullSize = 0;
        const HRESULT hr = COpdFileHelper::GetFileInfo(rFile.sPath, sCreation, sAccess, sWrite, ullSize);
        if (FAILED(hr))
        {
            // One of the three may be no date.
            sCreation = sAccess = sWrite = std::wstring();
            log.Warning(InfoFailed, rFile.sPath, hr);
        }
        const CFileVersions versions(rFile.sPath);
        const std::wstring sVersion = CCollectorUtil::IsModuleFile(rFile.sName) ? ModuleVersion(rFile)
                                                                                : ResourceVersion(versions);
        const std::wstring sProperties = PropertyColumns(versions);
        if (m_bFirstRow)
            OpenCsv(log);
        m_Csv.WriteLine(L"\"%s\",%s\"%s\",\"%s\",\"%s\",\"%I64u\",\"%s\",\"0x%08X\",\"%s\"", rFile.sName, sProperties,
                        sCreation, sAccess, sWrite, ullSize, sVersion, rFile.dwAttributes, rFile.sPath);
    }

    static std::wstring PropertyColumns(const CFileVersions& rVersions)
    {
        CFileVersions::Properties properties;
        rVersions.GetProperties(properties);
        std::wstring sColumns;
        for (UINT32 n = 0; n < CFileVersions::PropertyNames.size(); ++n)
            sColumns += L"\"" + properties[n] + L"\",";
        return sColumns;
    }

    void OpenCsv(const CFunctionLog& log)
    {
        m_hrOpen = m_Csv.Open(m_sCsvPath);
        log.Check(m_hrOpen, L"COpdLogFile::Open( \"%s\" ) failed. [0x%08X]", m_sCsvPath);
        m_Csv.WriteLine(L"%s", CsvHeader);
        m_bFirstRow = false;
    }

    std::wstring m_sCsvPath;
    COpdLogFile m_Csv;
    bool m_bFirstRow = true;
    HRESULT m_hrOpen = S_OK;
    CFolderTrail m_Trail;
};

} // namespace

HRESULT CCollectorUtil::OutputFileInfos(const std::wstring& sDirPath, CResultLog& rResultLog)
{
    return CTextListing(rResultLog).List(sDirPath);
}

HRESULT CCollectorUtil::OutputVlmFileList(const std::wstring& sDirPath, const std::wstring& sCsvPath)
{
    CFunctionLog log;
    return log.Run([&] {
        RequireDirPath(log, sDirPath);
        log.Check(CCsvListing(sCsvPath).List(sDirPath),
                  L"CCollectorUtil::_OutputVlmFileList( \"%s\" ) failed. [0x%08X]", sDirPath);
    });
}
