// The steps of the sections of Windows.txt.
#include <ctime>

#include "collect/CollectorUtil.h"
#include "collect/StepResult.h"
#include "collect/SystemInfoCollector.h"
#include "collect/SystemLanguages.h"
#include "platform/CodePage.h"
#include "platform/HResult.h"
#include "platform/Path.h"
#include "platform/RegKey.h"

namespace
{

std::wstring SystemDirPath(const CFunctionLog& log)
{
    std::wstring sPath = SystemFolder(::GetSystemDirectoryW);
    if (sPath.empty())
        log.ThrowCode(LastErrorResult(), L"::GetSystemDirectory() failed. [0x%08X]");
    return sPath;
}

} // namespace

HRESULT CSystemInfoCollector::OutputOSVersion()
{
    CFunctionLog log;
    return log.Run([&] {
        OSVERSIONINFOEXW Version{};
        auto* const pPlain = reinterpret_cast<OSVERSIONINFOW*>(&Version);
        pPlain->dwOSVersionInfoSize = sizeof(OSVERSIONINFOEXW);
        const bool bExtended = ::GetVersionExW(pPlain) != FALSE;
        pPlain->dwOSVersionInfoSize = sizeof(OSVERSIONINFOW);
        if (!bExtended && !::GetVersionExW(pPlain))
        {
            WriteLine(L"OutputOSVersion failed.");
            log.Throw(E_FAIL, L"GetVersionEx() failed.");
        }
        WriteLine(L"Version     : %d.%d", Version.dwMajorVersion, Version.dwMinorVersion);
        WriteLine(L"BuildNumber : %d", Version.dwBuildNumber);
        WriteLine(L"PlatformId  : %d", Version.dwPlatformId);
        WriteLine(L"CSDVersion  : %s", Version.szCSDVersion);
        if (!bExtended)
            return;
        WriteLine(L"ServicePack : %d.%d", Version.wServicePackMajor, Version.wServicePackMinor);
        WriteLine(L"SuiteMask   : 0x%04X", Version.wSuiteMask);
        WriteLine(L"ProductType : %d", Version.wProductType);
    });
}

HRESULT CSystemInfoCollector::OutputLanguage()
{
    CFunctionLog log;
    return log.Run([&] {
        const LCID dwLocale = ::GetUserDefaultLCID();
        // Blanks fill an id of less than three digits.
        WriteLine(L"OS Locale : %s(0x%3X)", NameOf(SystemLanguages, dwLocale, L"Unknown"), dwLocale);
    });
}

HRESULT CSystemInfoCollector::OutputTimeInfo()
{
    CFunctionLog log;
    return log.Run([&] {
        ::_tzset();
        const __time64_t Now = ::_time64(nullptr);
        std::tm Local{};
        if (::_localtime64_s(&Local, &Now) != 0)
            log.Throw(E_FAIL);
        // The runtime's zone of index 0: the name outside summer time.
        WriteLine(L"Time Zone : %s", ToWide(_tzname[0]));
        // The line end in the pattern stays: a bare line feed before the line's own end.
        wchar_t aTime[128];
        if (std::wcsftime(aTime, std::size(aTime), L"LocalTime : %Y/%m/%d, %H:%M:%S\n", &Local) == 0)
            log.Throw(E_FAIL);
        WriteLine(L"%s", aTime);
    });
}

// A missing library counts as installed, with an empty version: its version is asked for, not its presence.
HRESULT CSystemInfoCollector::OutputWinInstallerVer()
{
    CFunctionLog log;
    return log.Run([&] {
        std::wstring sVersion;
        if (FAILED(CCollectorUtil::GetFileVersion(JoinPath(SystemDirPath(log), L"msi.dll"), sVersion)))
            WriteLine(L"Not Installed");
        else
            WriteLine(L"Version : %s", sVersion);
    });
}

HRESULT CSystemInfoCollector::OutputDirectXVersion()
{
    CFunctionLog log;
    return log.Run([&] {
        DWORD dwVersion = 0;
        std::wstring sVersion;
        if (FAILED(CCollectorUtil::GetDXVersion(dwVersion, sVersion)))
            WriteLine(L"Unknown version of DirectX installed\n");
        else if (dwVersion == 0)
            WriteLine(L"DirectX Not Installed");
        else
            WriteLine(L"DirectX %s installed", sVersion);
    });
}

HRESULT CSystemInfoCollector::OutputMP3DecoderVersion()
{
    CFunctionLog log;
    return log.Run([&] {
        const std::wstring sDirPath = SystemDirPath(log);
        for (const wchar_t* const pName : { L"l3codecx.ax", L"l3codeca.acm", L"l3codecp.acm" })
            OutputFileVersion(pName, JoinPath(sDirPath, pName));
    });
}

HRESULT CSystemInfoCollector::OutputMSXMLVersion()
{
    CFunctionLog log;
    return log.Run([&] {
        const std::wstring sDirPath = SystemDirPath(log);
        for (const wchar_t* const pName : { L"MSXML.DLL", L"MSXML2.DLL", L"MSXML3.DLL" })
            OutputFileVersion(pName, JoinPath(sDirPath, pName));
    });
}

HRESULT CSystemInfoCollector::OutputFileVersion(const std::wstring& rcFileName, const std::wstring& rcFilePath)
{
    CFunctionLog log;
    return log.Run([&] {
        if (rcFileName.empty())
            log.Fail(E_INVALIDARG, L"rcFileName == empty");
        if (rcFilePath.empty())
            log.Fail(E_INVALIDARG, L"rcFilePath == empty");
        WriteLine(L"%s", CCollectorUtil::FileVersionLine(rcFileName, rcFilePath));
    });
}

HRESULT CSystemInfoCollector::OutputMicrosoftHotfix()
{
    CFunctionLog log;
    return log.Run([&] {
        const std::wstring sPath = L"SOFTWARE\\Microsoft\\Updates";
        CRegKey reg;
        const DWORD dwError = OpenMachineKey(sPath, reg);
        if (dwError != ERROR_SUCCESS)
            ThrowWin32(log, dwError, L"CRegKey::Open( \"HKLM\\%s\" ) failed. [%d]", sPath);
        WriteLine(L"  [%s]", sPath);
        CCollectorUtil::OutputRegSubKeyData(reg.Get(), *this);
        CCollectorUtil::OutputRegSubKey(reg.Get(), sPath, *this);
    });
}
