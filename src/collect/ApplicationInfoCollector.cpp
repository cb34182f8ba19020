// The files about applications, and the one about what starts with the PC.
#include "collect/ApplicationInfoCollector.h"

#include <shlobj.h>

#include "collect/ApplicationInfoReport.h"
#include "collect/BackupPrivilege.h"
#include "collect/CollectorFolders.h"
#include "collect/CollectorUtil.h"
#include "log/FunctionLog.h"
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

void OpenReport(const CFunctionLog& log, const std::wstring& sPath, CResultLog& rResultLog)
{
    log.Check(rResultLog.Open(sPath, false), L"CResultLog::Open( \"%s\" ) failed. [0x%08X]", sPath);
}

void WriteSection(CResultLog& rResultLog, const std::wstring& sName)
{
    rResultLog.WriteLine(L"");
    WriteApplicationSeparator(rResultLog);
    rResultLog.WriteLine(L"[%s]", sName);
}

// The values of one key. A value that does not fit ends the list with its error.
void OutputRunKey(const CFunctionLog& log, const CNameRow<HKEY>& rRoot, CResultLog& rResultLog)
{
    const std::wstring sKey = FormatText(L"%s\\%s", rRoot.pName, RunKeyPath);
    CRegKey reg;
    const DWORD dwOpen = reg.Open(rRoot.value, RunKeyPath, KEY_READ);
    if (dwOpen != ERROR_SUCCESS)
        log.ThrowCode(HResultFromWin32(dwOpen), L"CRegKey::Open( \"%s\" ) failed. [0x%08X]", sKey);
    WriteSection(rResultLog, sKey);
    for (DWORD nIndex = 0;; ++nIndex)
    {
        wchar_t aName[1024];
        wchar_t aData[512 + 1] = L""; // the data need not be terminated
        DWORD nName = 1024;
        DWORD dwBytes = 1024;
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
        const auto Report = [&](HRESULT hr, const wchar_t* pStep) {
            if (FAILED(hr))
                log.Warning(L"CApplicationInfoCollector::%s() failed. [0x%08X]", pStep, hr);
        };
        CreateOutputFolder(log, sOutDirPath);
        Report(EnableBackupPrivilege(), L"EnableBackupPrivilege");

        CResultLog startup;
        OpenReport(log, JoinPath(sOutDirPath, L"StartupPrograms.txt"), startup);
        Report(OutputStartupPrograms(startup), L"OutputStartupPrograms");

        CResultLog csv;
        OpenReport(log, JoinPath(sOutDirPath, L"InstalledPrograms.csv"), csv);
        csv.WriteLine(L"\"Name\",\"Version\",\"Publisher\",\"InstallDate\",\"Size\"");
        CResultLog text;
        OpenReport(log, JoinPath(sOutDirPath, L"InstalledPrograms.txt"), text);
        Report(OutputInstalledPrograms(csv, text), L"OutputInstalledPrograms");

        CResultLog msi;
        OpenReport(log, JoinPath(sOutDirPath, L"MsiInstallProperties.txt"), msi);
        Report(OutputMsiInstallProperties(msi), L"OutputMsiInstallProperties");
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
