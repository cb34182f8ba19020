// Installed programs, as the uninstall key and the installer's own records have them. The keys are those of the
// program's own registry view.
#include "collect/ApplicationInfoCollector.h"
#include "log/FunctionLog.h"
#include "log/ResultLog.h"
#include "platform/HResult.h"
#include "platform/LocalTime.h"
#include "platform/RegKey.h"

namespace
{

constexpr const wchar_t* UninstallKeyPath = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
constexpr const wchar_t* UserDataKeyPath = L"Software\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData";

// The longest name that a key can have, with its terminator.
constexpr DWORD NameCapacity = 256;

constexpr CFormat<std::wstring, HRESULT> OpenFailed(L"CRegKey::Open( \"HKLM\\%s\" ) failed. [0x%08X]");

// Opens "path\subkey" + pTail for each subkey of an open key and hands it, an installed thing, to body with its path.
// One that cannot be opened costs a record; an enumeration that fails throws.
template <typename Body>
void ForEachSubKey(const CFunctionLog& log, const CRegKey& rKey, const std::wstring& sPath, const wchar_t* pTail,
                   const Body& body)
{
    for (DWORD nIndex = 0;; ++nIndex)
    {
        std::wstring sName;
        FILETIME LastWrite{};
        const DWORD dwStatus = EnumSubKey(rKey.Get(), nIndex, sName, NameCapacity, &LastWrite);
        if (dwStatus == ERROR_NO_MORE_ITEMS)
            return;
        if (dwStatus != ERROR_SUCCESS)
            log.ThrowCode(HResultFromWin32(dwStatus), L"CRegKey::EnumKey( \"HKLM\\%s\", %d ) failed, [0x%08X]", sPath,
                          nIndex);

        const std::wstring sSubPath = FormatText(L"%s\\%s%s", sPath, sName, pTail);
        CRegKey reg;
        const HRESULT hr = ResultOf(OpenMachineKey(sSubPath, reg));
        if (SUCCEEDED(hr))
            body(CInstalled{ reg, sName, LastWrite }, sSubPath);
        else
            log.Warning(OpenFailed, sSubPath, hr);
    }
}

// Year, hour and day: the month has never been in these files, and their readers know the form.
std::wstring DateText(const FILETIME& rTime)
{
    constexpr WORD LastYear = 9999;
    const auto Time = LocalTimeOf(rTime);
    return Time && Time->wYear <= LastYear ? FormatText(L"%04d/%02d/%02d", Time->wYear, Time->wHour, Time->wDay)
                                           : L"Invalid DateTime";
}

// "20121231" with its slashes; a text of another form is cut at the same places.
std::wstring SlashedDate(const std::wstring& sDate)
{
    const auto Part = [&](std::size_t nFirst, std::size_t nCount) {
        return nFirst < sDate.size() ? sDate.substr(nFirst, nCount) : std::wstring();
    };
    return FormatText(L"%s/%s/%s", Part(0, 4), Part(4, 2), Part(6, 2));
}

} // namespace

HRESULT CApplicationInfoCollector::OutputInstalledPrograms(CResultLog& rCsv, CResultLog& rText)
{
    CFunctionLog log;
    return log.Run([&] {
        CRegKey uninstall;
        log.Check(ResultOf(OpenMachineKey(UninstallKeyPath, uninstall)), OpenFailed, std::wstring(UninstallKeyPath));
        ForEachSubKey(log, uninstall, UninstallKeyPath, L"", [&](const CInstalled& rProgram, const std::wstring&) {
            OutputProgramRow(rProgram, rCsv);
            OutputProgramInfo(rProgram, rText);
        });
    });
}

HRESULT CApplicationInfoCollector::OutputMsiInstallProperties(CResultLog& rResultLog)
{
    CFunctionLog log;
    return log.Run([&] {
        CRegKey userData;
        log.Check(ResultOf(OpenMachineKey(UserDataKeyPath, userData)), OpenFailed, std::wstring(UserDataKeyPath));
        ForEachSubKey(log, userData, UserDataKeyPath, L"\\Products",
                      [&](const CInstalled& rUser, const std::wstring& sProductsPath) {
                          ForEachSubKey(log, rUser.rKey, sProductsPath, L"\\InstallProperties",
                                        [&](const CInstalled& rProduct, const std::wstring&) {
                                            OutputInstallProperties(rProduct, rResultLog);
                                        });
                      });
    });
}

// A program without a display name has no row; one with an empty name has.
HRESULT CApplicationInfoCollector::OutputProgramRow(const CInstalled& rProgram, CResultLog& rCsv)
{
    CFunctionLog log("CApplicationInfoCollector::OutputProgramInfo");
    return log.Run([&] {
        const CRegKey& rKey = rProgram.rKey;
        std::wstring sName, sVersion, sPublisher, sDate, sSize;
        log.Check(GetStringProperty(rKey, L"DisplayName", sName),
                  L"CApplicationInfoCollector::GetStringProperty( DisplayName ) failed. [0x%08X]");
        GetStringProperty(rKey, L"DisplayVersion", sVersion);
        GetStringProperty(rKey, L"Publisher", sPublisher);
        GetStringProperty(rKey, L"InstallDate", sDate);
        sDate = sDate.empty() ? DateText(rProgram.LastWrite) : SlashedDate(sDate);
        DWORD dwSize = 0;
        GetDwordProperty(rKey, L"EstimatedSize", dwSize);
        if (dwSize != 0)
            sSize = FormatText(L"%.1f MB", dwSize / 1024.0);
        rCsv.WriteLine(L"\"%s\",\"%s\",\"%s\",\"%s\",\"%s\"", sName, sVersion, sPublisher, sDate, sSize);
    });
}

HRESULT CApplicationInfoCollector::OutputProgramInfo(const CInstalled& rProgram, CResultLog& rText)
{
    static constexpr CProperty Properties[] = {
        { REG_SZ, L"DisplayName" },     { REG_SZ, L"DisplayVersion" },   { REG_SZ, L"Publisher" },
        { REG_SZ, L"UninstallString" }, { REG_SZ, L"InstallDate" },      { REG_SZ, L"InstallLocation" },
        { REG_SZ, L"InstallSource" },   { REG_DWORD, L"EstimatedSize" }, { REG_DWORD, L"Version" },
        { REG_DWORD, L"VersionMajor" }, { REG_DWORD, L"VersionMinor" },  { REG_DWORD, L"WindowsInstaller" },
    };
    CFunctionLog log;
    return log.Run([&] { WriteBlock(rProgram, Properties, L"KeyName", rText); });
}

HRESULT CApplicationInfoCollector::OutputInstallProperties(const CInstalled& rProduct, CResultLog& rText)
{
    static constexpr CProperty Properties[] = {
        { REG_SZ, L"DisplayName" },     { REG_SZ, L"DisplayVersion" },   { REG_SZ, L"Publisher" },
        { REG_SZ, L"InstallDate" },     { REG_SZ, L"InstallLocation" },  { REG_SZ, L"InstallSource" },
        { REG_SZ, L"LocalPackage" },    { REG_DWORD, L"EstimatedSize" }, { REG_DWORD, L"Version" },
        { REG_DWORD, L"VersionMajor" }, { REG_DWORD, L"VersionMinor" },  { REG_DWORD, L"WindowsInstaller" },
    };
    CFunctionLog log;
    return log.Run([&] { WriteBlock(rProduct, Properties, L"ProductCode", rText); });
}

// A value that is missing or, being a text, empty has no line. The labels fill 17 columns.
void CApplicationInfoCollector::WriteBlock(const CInstalled& rInstalled, std::span<const CProperty> Properties,
                                           const wchar_t* pNameLabel, CResultLog& rText)
{
    rText.WriteLine(L"%s", DumpSeparator);
    for (const CProperty& rProperty : Properties)
    {
        std::wstring sValue;
        DWORD dwValue = 0;
        if (rProperty.dwType == REG_DWORD)
        {
            if (SUCCEEDED(GetDwordProperty(rInstalled.rKey, rProperty.pName, dwValue)))
                rText.WriteLine(L"%-17s: 0x%08X (%u)", rProperty.pName, dwValue, dwValue);
        }
        else if (SUCCEEDED(GetStringProperty(rInstalled.rKey, rProperty.pName, sValue)) && !sValue.empty())
            rText.WriteLine(L"%-17s: %s", rProperty.pName, sValue);
    }
    rText.WriteLine(L"%-17s: %s", pNameLabel, rInstalled.sName);
    rText.WriteLine(L"%-17s: %s", L"LastWriteTime", DateText(rInstalled.LastWrite));
    rText.WriteLine(L"");
}

HRESULT CApplicationInfoCollector::GetStringProperty(const CRegKey& rKey, const wchar_t* pName, std::wstring& rsValue)
{
    constexpr DWORD Capacity = 1024;
    CFunctionLog log;
    return log.Run([&] { return ResultOf(rKey.QueryStringValue(pName, rsValue, Capacity)); });
}

HRESULT CApplicationInfoCollector::GetDwordProperty(const CRegKey& rKey, const wchar_t* pName, DWORD& rdwValue)
{
    CFunctionLog log;
    return log.Run([&] { return ResultOf(rKey.QueryDwordValue(pName, rdwValue)); });
}
