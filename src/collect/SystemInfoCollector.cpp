// The run of the collector: the tools, the sections, the collectors behind it.
#include "collect/SystemInfoCollector.h"

#include <shlobj.h>

#include "collect/CollectorFolders.h"
#include "collect/NetworkInfoCollector.h"
#include "collect/NtServiceCollector.h"
#include "collect/ProcessInfoCollector.h"
#include "collect/StepResult.h"
#include "opdutility/OpdExecFile.h"
#include "platform/Path.h"

namespace
{

constexpr UINT32 Range = 60;

// A tool's output file tells nothing of how the tool ended; the log does.
void RunTool(const CFunctionLog& log, const std::wstring& sProgram, const std::wstring& sCommand)
{
    DWORD dwExitCode = 0;
    log.Check(COpdExecFile::Execute(sProgram, sCommand, &dwExitCode),
              L"COpdExecFile::Execute( \"%s\", \"%s\" ) failed. [0x%08X]", sProgram, sCommand);
    if (dwExitCode != 0)
        log.Throw(E_FAIL, L"COpdExecFile::Execute( \"%s\", \"%s\" ) failed. [ExitCode:%u]", sProgram, sCommand,
                  dwExitCode);
}

} // namespace

CSystemInfoCollector::CSystemInfoCollector() : m_Progress(L"CSystemInfoCollector", Range, L"collect system info...") {}

HRESULT CSystemInfoCollector::Collect(const std::wstring& sOutDirPath, bool bSilent)
{
    CFunctionLog log;
    return log.Run([&] {
        CreateOutputFolder(log, sOutDirPath);
        std::wstring sSystemDirPath;
        Tolerate(log, GetShellFolder(CSIDL_SYSTEM, sSystemDirPath),
                 L"::SHGetFolderPath( CSIDL_SYSTEM ) failed. [0x%08X]");
        Tolerate(log, ExecuteSystemInfo(sSystemDirPath, sOutDirPath),
                 L"CSystemInfoCollector::ExecuteSystemInfo( \"%s\", \"%s\" ) failed. [0x%08X]", sSystemDirPath,
                 sOutDirPath);
        if (!bSilent)
            Tolerate(log, ExecuteMsInfo32(sOutDirPath),
                     L"CSystemInfoCollector::ExecuteMsInfo32( \"%s\", \"%s\" ) failed. [0x%08X]", sSystemDirPath,
                     sOutDirPath);

        OpenOrThrow(log, JoinPath(sOutDirPath, L"Windows.txt"), true);
        OutputSections(log);

        Tolerate(log, CNtServiceCollector().Collect(sOutDirPath),
                 L"CNtServiceCollector::Collect( \"%s\" ) failed. [0x%08X]", sOutDirPath);
        Tolerate(log, CProcessInfoCollector().Collect(sOutDirPath),
                 L"CProcessInfoCollector::Collect( \"%s\" ) failed. [0x%08X]", sOutDirPath);
        Tolerate(log, CNetworkInfoCollector().Collect(sOutDirPath),
                 L"CNetworkInfoCollector::Collect( \"%s\" ) failed. [0x%08X]", sOutDirPath);
    });
}

HRESULT CSystemInfoCollector::ExecuteSystemInfo(const std::wstring& sSystemDirPath, const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        RunTool(log, JoinPath(sSystemDirPath, L"cmd.exe"),
                FormatText(L"/c systeminfo > \"%s\"", JoinPath(sOutDirPath, L"systeminfo.txt")));
    });
}

// The tool does not stand in the system folder.
HRESULT CSystemInfoCollector::ExecuteMsInfo32(const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        const std::wstring sCommonDirPath = RequireShellFolder(log, CSIDL_PROGRAM_FILES_COMMON,
                                                               L"CSIDL_PROGRAM_FILES_COMMON");
        RunTool(log, JoinPath(sCommonDirPath, L"Microsoft Shared\\MSInfo\\msinfo32.exe"),
                FormatText(L"/nfo \"%s\"", JoinPath(sOutDirPath, L"msinfo32.nfo")));
    });
}

void CSystemInfoCollector::BeginSection(UINT32 nPosition, const wchar_t* pProgressText, const wchar_t* pTitle)
{
    m_Progress.Update(nPosition, pProgressText);
    WriteSectionHead(pTitle);
}

void CSystemInfoCollector::OutputSections(const CFunctionLog& log)
{
    BeginSection(10, L"Collecting Windows information...", L"[Windows]");
    Tolerate(log, OutputOSVersion(), L"OutputOSVersion() failed.[0x%08X]");
    Tolerate(log, OutputLanguage(), L"OutputLanguage() failed.[0x%08X]");
    Tolerate(log, OutputTimeInfo(), L"OutputTimeInfo() failed.[0x%08X]");

    BeginSection(20, L"Collecting Windows Installer information...", L"[Windows Installer]");
    Tolerate(log, OutputWinInstallerVer(), L"OutputWinInstallerVer() failed.[0x%08X]");

    BeginSection(30, L"Collecting Direct X information...", L"[Direct X]");
    Tolerate(log, OutputDirectXVersion(), L"OutputDirectXVersion() failed.[0x%08X]");

    BeginSection(40, L"Collecting MP3 Decoder information...", L"[MP3 Decoder]");
    Tolerate(log, OutputMP3DecoderVersion(), L"OutputMP3DecoderVersion() failed.[0x%08X]");

    BeginSection(50, L"Collecting MSXML information...", L"[MSXML]");
    Tolerate(log, OutputMSXMLVersion(), L"OutputMSXMLVersion() failed.[0x%08X]");

    BeginSection(60, L"Collecting Microsoft Hotfix information...", L"[Microsoft Hotfix]");
    Tolerate(log, OutputMicrosoftHotfix(), L"OutputMicrosoftHotfix() failed.[0x%08X]");
}
