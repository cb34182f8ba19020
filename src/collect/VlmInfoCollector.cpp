#include "collect/VlmInfoCollector.h"

#include <shlobj.h>

#include "collect/CollectorFolders.h"
#include "collect/CollectorUtil.h"
#include "collect/StepResult.h"
#include "platform/Path.h"

namespace
{

// Where the system puts what a program without rights writes into the product's folder.
constexpr const wchar_t* RedirectedFolder = L"\\VirtualStore\\Program Files\\Common Files\\Tolvane Shared\\";

std::wstring RedirectedDirPath(const CFunctionLog& log)
{
    return RequireShellFolder(log, CSIDL_LOCAL_APPDATA, L"CSIDL_LOCAL_APPDATA") + RedirectedFolder;
}

// True for a missing one as well, whose answer has all bits set: the report has always shown its empty block.
bool IsListed(const std::wstring& sDirPath)
{
    return (::GetFileAttributesW(sDirPath.c_str()) & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

} // namespace

CVlmInfoCollector::CVlmInfoCollector() : m_Progress(L"CVlmInfoCollector", 40, L"collect Velmora info...") {}

HRESULT CVlmInfoCollector::Collect(const std::wstring& sRepositoryDirPath, const std::wstring& sNuvexDirPath,
                                   const std::wstring& sRegistryPath, const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        CreateOutputFolder(log, sOutDirPath, L"COpdDirectoryHelper::CreateDirectoryEx(\"%s\") failed. [0x%08X]");
        OpenOrThrow(log, JoinPath(sOutDirPath, L"Velmora.txt"), true);

        m_Progress.Update(10, L"Collecting Velmora information...");
        WriteSectionHead(L"[Velmora Secure Module]");
        ReportProduct(log, sRegistryPath);

        m_Progress.Update(20, L"Collecting Velmora service information...");
        WriteSectionHead(L"[Service]");
        Tolerate(log, OutputServiceInfo(), L"CVlmInfoCollector::OutputServiceInfo() failed. [0x%08X]");

        m_Progress.Update(40, L"Collecting Velmora file information...");
        WriteSectionHead(L"[File]");
        Tolerate(log, OutputVlmFileInfo(sRepositoryDirPath, sNuvexDirPath),
                 L"CVlmInfoCollector::OutputVlmFileInfo( \"%s\", \"%s\" ) failed. [0x%08X]", sRepositoryDirPath,
                 sNuvexDirPath);
        Close();

        Tolerate(log, OutputVlmFileList(sRepositoryDirPath, sNuvexDirPath, sOutDirPath),
                 L"CVlmInfoCollector::OutputVlmFileList( \"%s\", \"%s\" ) failed. [0x%08X]", sRepositoryDirPath,
                 sNuvexDirPath);
    });
}

void CVlmInfoCollector::ReportProduct(const CFunctionLog& log, const std::wstring& sRegistryPath)
{
    Tolerate(log, OutputVelmoraVersion(sRegistryPath),
             L"CVlmInfoCollector::OutputVelmoraVersion( \"%s\" ) failed. [0x%08X]", sRegistryPath);
    Tolerate(log, OutputVlmRegion(), L"CVlmInfoCollector::OutputVlmRegion() failed. [0x%08X]");
    Tolerate(log, OutputVlmAreaCode(sRegistryPath), L"CVlmInfoCollector::OutputVlmAreaCode( \"%s\" ) failed. [0x%08X]",
             sRegistryPath);
    Tolerate(log, OutputLimitedPatchVersion(), L"CVlmInfoCollector::OutputLimitedPatchVersion() failed. [0x%08X]");
}

// A folder that cannot be listed costs its own block; the listing has told why.
HRESULT CVlmInfoCollector::OutputVlmFileInfo(const std::wstring& sRepositoryDirPath, const std::wstring& sNuvexDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        OutputFolder(L"Repository", sRepositoryDirPath);
        OutputFolder(L"Nuvex", sNuvexDirPath);
        const std::wstring sRedirected = RedirectedDirPath(log);
        if (IsListed(sRedirected))
            OutputFolder(L"VirtualStore", sRedirected);
    });
}

void CVlmInfoCollector::OutputFolder(const wchar_t* pTitle, const std::wstring& sDirPath)
{
    WriteLine(L"");
    WriteLine(L"%s : \"%s\"", pTitle, sDirPath);
    CCollectorUtil::OutputFileInfos(sDirPath, *this);
}

HRESULT CVlmInfoCollector::OutputVlmFileList(const std::wstring& sRepositoryDirPath, const std::wstring& sNuvexDirPath,
                                             const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        const auto List = [&](const std::wstring& sDirPath, const wchar_t* pFileName) {
            const std::wstring sCsvPath = JoinPath(sOutDirPath, pFileName);
            // The name in the record is the operation's old one; scripts look for it.
            Tolerate(log, CCollectorUtil::OutputVlmFileList(sDirPath, sCsvPath),
                     L"CCollectorUtil::OutputFileList( \"%s\", \"%s\" ) failed. [0x%08X]", sDirPath, sCsvPath);
        };
        List(sRepositoryDirPath, L"Velmora.csv");
        List(sNuvexDirPath, L"Nuvex.csv");
        const std::wstring sRedirected = RedirectedDirPath(log);
        if (IsListed(sRedirected))
            List(sRedirected, L"VirtualStore.csv");
    });
}
