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

// One text listing, folder by folder.
class CTextListing
{
public:
    CTextListing(const CFunctionLog& log, CResultLog& rResultLog) : m_log(log), m_rResultLog(rResultLog) {}

    void List(const std::wstring& sDirPath)
    {
        const CFolderTrail::CVisit visit(m_Trail, sDirPath);
        if (!visit.Entered())
            return;
        m_rResultLog.WriteLine(L"");
        m_rResultLog.WriteLine(L"[%s]", sDirPath);
        CFolderContents contents;
        const HRESULT hr = ReadFolder(sDirPath, contents);
        if (FAILED(hr))
        {
            m_rResultLog.WriteLine(L"COpdFileHelper::EnumFiles( \"%s\" ) failed. [0x%08X]", JoinPath(sDirPath, L"*"),
                                   hr);
            m_log.Throw(hr);
        }
        for (const CFileEntry& rFile : contents.Files)
            WriteFile(rFile);
        for (const CFileEntry& rFolder : contents.Folders)
            // A subfolder that cannot be listed has its line; its neighbours follow.
            CFunctionLog::Try([&] { List(rFolder.sPath); });
    }

private:
    void WriteFile(const CFileEntry& rFile)
    {
        FILETIME Creation{}, Access{}, Write{};
        ULONGLONG ullSize = 0;
        const HRESULT hr = COpdFileHelper::GetFileInfo(rFile.sPath, Creation, Access, Write, ullSize);
        if (FAILED(hr))
            m_rResultLog.WriteLine(L"COpdFileHelper::GetFileInfo( \"%s\" ) failed. [0x%08X]", rFile.sPath, hr);
        m_rResultLog.WriteLine(L"  \"%s\", size: %d, time: \"%s\", ver: \"%s\", attr: 0x%08X", rFile.sName,
                               static_cast<DWORD>(ullSize), ListedTime(Write),
                               CCollectorUtil::IsModuleFile(rFile.sName) ? ModuleVersion(rFile)
                                                                         : ResourceVersion(CFileVersions(rFile.sPath)),
                               rFile.dwAttributes);
    }

    const CFunctionLog& m_log;
    CResultLog& m_rResultLog;
    CFolderTrail m_Trail;
};

// One CSV listing; the file is made when the first row is ready.
class CCsvListing
{
public:
    CCsvListing(const CFunctionLog& log, const std::wstring& sCsvPath) : m_log(log), m_sCsvPath(sCsvPath) {}

    void List(const std::wstring& sDirPath)
    {
        const CFolderTrail::CVisit visit(m_Trail, sDirPath);
        if (!visit.Entered())
            return;
        CFolderContents contents;
        m_log.Check(ReadFolder(sDirPath, contents), L"COpdFileHelper::EnumFiles( \"%s\" ) failed. [0x%08X]",
                    JoinPath(sDirPath, L"*"));
        for (const CFileEntry& rFile : contents.Files)
            WriteRow(rFile);
        for (const CFileEntry& rFolder : contents.Folders)
            ListSubfolder(rFolder.sPath);
    }

private:
    // A subfolder that cannot be listed costs its own rows; a CSV that cannot be made ends the listing.
    void ListSubfolder(const std::wstring& sDirPath)
    {
        const HRESULT hr = CFunctionLog::Try([&] { List(sDirPath); });
        if (FAILED(hr) && FAILED(m_hrOpen))
            m_log.Throw(hr);
    }

    void WriteRow(const CFileEntry& rFile)
    {
        std::wstring sCreation, sAccess, sWrite;
        ULONGLONG ullSize = 0;
        const HRESULT hr = COpdFileHelper::GetFileInfo(rFile.sPath, sCreation, sAccess, sWrite, ullSize);
        if (FAILED(hr))
        {
            // One of the three may be no date.
            sCreation = sAccess = sWrite = std::wstring();
            m_log.Warning(L"COpdFileHelper::GetFileInfo( \"%s\" ) failed. [0x%08X]", rFile.sPath, hr);
        }
        const CFileVersions versions(rFile.sPath);
        const std::wstring sVersion = CCollectorUtil::IsModuleFile(rFile.sName) ? ModuleVersion(rFile)
                                                                                : ResourceVersion(versions);
        const std::wstring sProperties = PropertyColumns(versions);
        if (m_bFirstRow)
            OpenCsv();
        m_Csv.WriteLine(L"\"%s\",%s\"%s\",\"%s\",\"%s\",\"%I64u\",\"%s\",\"0x%08X\",\"%s\"", rFile.sName, sProperties,
                        sCreation, sAccess, sWrite, ullSize, sVersion, rFile.dwAttributes, rFile.sPath);
    }

    static std::wstring PropertyColumns(const CFileVersions& rVersions)
    {
        CCollectorUtil::Properties properties;
        rVersions.GetProperties(properties);
        std::wstring sColumns;
        for (UINT32 n = 0; n < CCollectorUtil::PropertyNames.size(); ++n)
            sColumns += L"\"" + properties[n] + L"\",";
        return sColumns;
    }

    void OpenCsv()
    {
        m_hrOpen = m_Csv.Open(m_sCsvPath);
        m_log.Check(m_hrOpen, L"COpdLogFile::Open( \"%s\" ) failed. [0x%08X]", m_sCsvPath);
        m_Csv.WriteLine(L"%s", CsvHeader);
        m_bFirstRow = false;
    }

    const CFunctionLog& m_log;
    std::wstring m_sCsvPath;
    COpdLogFile m_Csv;
    bool m_bFirstRow = true;
    HRESULT m_hrOpen = S_OK;
    CFolderTrail m_Trail;
};

// Joined with a pattern, an empty path would list the current folder.
void RequireDirPath(const CFunctionLog& log, const std::wstring& sDirPath)
{
    if (sDirPath.empty())
        log.Fail(E_INVALIDARG, L"sDirPath == empty");
}

} // namespace

HRESULT CCollectorUtil::OutputFileInfos(const std::wstring& sDirPath, CResultLog& rResultLog)
{
    CFunctionLog log;
    return log.Run([&] {
        RequireDirPath(log, sDirPath);
        CTextListing(log, rResultLog).List(sDirPath);
    });
}

HRESULT CCollectorUtil::OutputVlmFileList(const std::wstring& sDirPath, const std::wstring& sCsvPath)
{
    CFunctionLog log;
    return log.Run([&] {
        RequireDirPath(log, sDirPath);
        CFunctionLog walkLog("CCollectorUtil::_OutputVlmFileList");
        const HRESULT hr = walkLog.Run([&] { CCsvListing(walkLog, sCsvPath).List(sDirPath); });
        log.Check(hr, L"CCollectorUtil::_OutputVlmFileList( \"%s\" ) failed. [0x%08X]", sDirPath);
    });
}
