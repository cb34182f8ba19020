// The files about applications, and the one about what starts with the PC.
#include "collect/ApplicationInfoCollector.h"

#include <shlobj.h>

#include "collect/BackupPrivilege.h"
#include "collect/CollectorFolders.h"
#include "collect/CollectorUtil.h"
#include "collect/StepResult.h"
#include "log/FunctionLog.h"
#include "log/ResultLog.h"
#include "platform/HResult.h"
#include "platform/Path.h"
#include "platform/RegKey.h"
#include "platform/Table.h"

namespace
{

constexpr const wchar_t* RunKeyPath = L"Software\\Microsoft\\Windows\\CurrentVersion\\Run";

// Not constexpr: the roots are casts.
const CNameRow<HKEY> RunRoots[] = { { HKEY_CURRENT_USER, L"HKEY_CURRENT_USER" },
                                    { HKEY_LOCAL_MACHINE, L"HKEY_LOCAL_MACHINE" } };

constexpr CNameRow<int> StartupFolders[] = {
    { CSIDL_STARTUP, L"CSIDL_STARTUP" },
    { CSIDL_ALTSTARTUP, L"CSIDL_ALTSTARTUP" },
    { CSIDL_COMMON_ALTSTARTUP, L"CSIDL_COMMON_ALTSTARTUP" },
};

void WriteSection(CResultLog& rResultLog, const std::wstring& sName)
{
    rResultLog.WriteLine(L"");
    rResultLog.WriteLine(L"%s", DumpSeparator);
    rResultLog.WriteLine(L"[%s]", sName);
}

// The values of one key. A value that does not fit ends the list with its error.
void OutputRunKey(const CFunctionLog& log, const CNameRow<HKEY>& rRoot, CResultLog& rResultLog)
{
    const std::wstring sKey = FormatText(L"%s\\%s", rRoot.pName, RunKeyPath);
    CRegKey reg;
    if (const HRESULT hr = ResultOf(reg.Open(rRoot.value, RunKeyPath, KEY_READ)); FAILED(hr))
        log.ThrowCode(hr, L"CRegKey::Open( \"%s\" ) failed. [0x%08X]", sKey);
    WriteSection(rResultLog, sKey);
    for (DWORD nIndex = 0;; ++nIndex)
    {
        wchar_t aName[1024];
        wchar_t aData[512 + 1] = L""; // the data need not be terminated
        DWORD nName = std::size(aName);
        DWORD dwBytes = sizeof aData - sizeof(wchar_t);
        DWORD dwType = REG_NONE;
        const auto dwStatus = static_cast<DWORD>(::RegEnumValueW(reg.Get(), nIndex, aName, &nName, nullptr, &dwType,
                                                                 reinterpret_cast<BYTE*>(aData), &dwBytes));
        if (dwStatus == ERROR_NO_MORE_ITEMS)
            return;
        if (dwStatus != ERROR_SUCCESS)
        {
            log.Warning(L"::RegEnumValue( \"%s\", %d ) failed. [0x%08X]", sKey, nIndex, HResultFromWin32(dwStatus));
            return;
        }
        if (dwType != REG_SZ)
            log.Warning(L"::RegEnumValue( \"%s\", %d ) failed. [RegType:%d]", sKey, nIndex, dwType);
        else
            rResultLog.WriteLine(L"  \"%s\",\"%s\",\"%s\"", aName, aData, sKey);
    }
}

// The folder is headed by the name of its id and not by its path, which the listing gives.
void OutputStartupFolder(const CFunctionLog& log, const CNameRow<int>& rFolder, CResultLog& rResultLog)
{
    std::wstring sPath;
    const HRESULT hr = GetShellFolder(rFolder.value, sPath);
    if (FAILED(hr))
    {
        log.Warning(L"::SHGetFolderPath( %s ) failed. [0x%08X]", rFolder.pName, hr);
        return;
    }
    WriteSection(rResultLog, rFolder.pName);
    CCollectorUtil::OutputFileInfos(sPath, rResultLog);
}

} // namespace

HRESULT CApplicationInfoCollector::Collect(const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        CreateOutputFolder(log, sOutDirPath);
        Tolerate(log, EnableBackupPrivilege(), L"CApplicationInfoCollector::EnableBackupPrivilege() failed. [0x%08X]");

        CResultLog startup;
        startup.OpenOrThrow(log, JoinPath(sOutDirPath, L"StartupPrograms.txt"), false);
        Tolerate(log, OutputStartupPrograms(startup),
                 L"CApplicationInfoCollector::OutputStartupPrograms() failed. [0x%08X]");

        CResultLog csv;
        csv.OpenOrThrow(log, JoinPath(sOutDirPath, L"InstalledPrograms.csv"), false);
        csv.WriteLine(L"\"Name\",\"Version\",\"Publisher\",\"InstallDate\",\"Size\"");
        CResultLog text;
        text.OpenOrThrow(log, JoinPath(sOutDirPath, L"InstalledPrograms.txt"), false);
        Tolerate(log, OutputInstalledPrograms(csv, text),
                 L"CApplicationInfoCollector::OutputInstalledPrograms() failed. [0x%08X]");

        CResultLog msi;
        msi.OpenOrThrow(log, JoinPath(sOutDirPath, L"MsiInstallProperties.txt"), false);
        Tolerate(log, OutputMsiInstallProperties(msi),
                 L"CApplicationInfoCollector::OutputMsiInstallProperties() failed. [0x%08X]");
    });
}

HRESULT CApplicationInfoCollector::EnableBackupPrivilege()
{
    CFunctionLog log;
    return log.Run([&] { ::EnableBackupPrivilege(log); });
}

HRESULT CApplicationInfoCollector::OutputStartupPrograms(CResultLog& rResultLog)
{
    CFunctionLog log;
    return log.Run([&] {
        // A missing key ends the step: the folders are not listed then.
        for (const auto& rRoot : RunRoots)
            OutputRunKey(log, rRoot, rResultLog);
        for (const auto& rFolder : StartupFolders)
            OutputStartupFolder(log, rFolder, rResultLog);
    });
}
