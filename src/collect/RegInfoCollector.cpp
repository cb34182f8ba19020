#include "collect/RegInfoCollector.h"

#include "collect/BackupPrivilege.h"
#include "collect/CollectorFolders.h"
#include "log/FunctionLog.h"
#include "platform/Path.h"
#include "platform/RegKey.h"

namespace
{

struct CHive
{
    HKEY hRoot;
    const wchar_t* pSubKey;
    const wchar_t* pFile;
};

// Not constexpr: the roots are casts.
// clang-format off
const CHive Hives[] = {
    { HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows NT\\CurrentVersion\\AppCompatFlags", L"HKCU_AppCompatFlags.dat" },
    { HKEY_CURRENT_USER, L"Software\\Classes\\VirtualStore\\MACHINE\\Software\\Tolvane Corporation", L"HKCU_VirtualStore_TolvaneCorporation.dat" },
    { HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows NT\\CurrentVersion\\AppCompatFlags", L"HKLM_AppCompatFlags.dat" },
    { HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows\\CurrentVersion\\Policies", L"HKLM_Policies.dat" },
    { HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall", L"HKLM_Uninstall.dat" },
    { HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows\\CurrentVersion\\Installer", L"HKLM_Installer.dat" },
    { HKEY_LOCAL_MACHINE, L"Software\\Tolvane Corporation", L"HKLM_TolvaneCorporation.dat" },
    { HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Enum\\STORAGE\\Volume", L"HKLM_SYSTEM_STORAGE.dat" },
    { HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Enum\\USB", L"HKLM_SYSTEM_USB.dat" },
    { HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Enum\\USBSTOR", L"HKLM_SYSTEM_USBSTOR.dat" },
    { HKEY_CURRENT_USER, L"Software\\Tolvane Corporation", L"HKCU_TolvaneCorporation.dat" },
    { HKEY_LOCAL_MACHINE, L"Software\\ASIO", L"HKLM_ASIO.dat" },
};
// clang-format on

// The platform refuses a file that is there already, so that of a second run into the same folder the first one's
// stands.
void SaveHive(const CFunctionLog& log, const CHive& rHive, const std::wstring& sPath)
{
    const auto dwRoot = static_cast<DWORD>(reinterpret_cast<UINT_PTR>(rHive.hRoot));
    CRegKey reg;
    const DWORD dwOpen = reg.Open(rHive.hRoot, rHive.pSubKey, KEY_READ);
    if (dwOpen != ERROR_SUCCESS)
    {
        log.Warning(L"CRegKey::Open( 0x%08X, \"%s\" ) failed. (%u)", dwRoot, rHive.pSubKey, dwOpen);
        return;
    }
    const auto dwSave = static_cast<DWORD>(::RegSaveKeyW(reg.Get(), sPath.c_str(), nullptr));
    if (dwSave != ERROR_SUCCESS)
        log.Warning(L"::RegSaveKey( HKEY(0x%08X, \"%s\") ) failed. (%u)", dwRoot, rHive.pSubKey, dwSave);
}

} // namespace

HRESULT CRegInfoCollector::Collect(const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        CreateOutputFolder(log, sOutDirPath, L"COpdDirectoryHelper::CreateDirectoryEx(\"%s\") failed. [0x%08X]");
        EnableBackupPrivilege(log);
        for (const CHive& rHive : Hives)
            SaveHive(log, rHive, JoinPath(sOutDirPath, rHive.pFile));
    });
}
