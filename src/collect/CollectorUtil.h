// What more than one collector prints in the same way: versions of files, registry keys as text, listings of folders,
// the DirectX version. The layouts are the program's common file formats.
#pragma once

#include <string>

#include "collect/FileVersions.h"

class CResultLog;

// Static operations without a state.
class CCollectorUtil
{
public:
    // The strings of the first translation; a missing one is left out. A file without a resource is no failure and
    // leaves the map as it is. For callers that have only a path; the listings keep the resource for more questions.
    static HRESULT GetFileProperty(const std::wstring& sPath, CFileVersions::Properties& rProperties);
    // The FileVersion string, each ", " made a "."; empty, with success, for a file that is missing or has no resource.
    static HRESULT GetFileVersion(const std::wstring& sPath, std::wstring& rsVersion);
    // "name : version" with that version, or "name : Not Installed" where even the asking fails.
    static std::wstring FileVersionLine(const std::wstring& sName, const std::wstring& sPath);
    // The fixed version; here a missing resource is a failure.
    static HRESULT GetFileVersion(const std::wstring& sPath, CVersionResource::CFixed& rVersion);
    // The version of one of the product's own module files, by the path as it stands.
    static HRESULT GetTvmFileVersion(const std::wstring& sPath, std::wstring& rsVersion);
    // True for a file whose version stands in its bytes and not in a resource.
    static bool IsModuleFile(const std::wstring& sFileName);

    // The values of a key, one line each; and its subkeys with theirs, depth first. sPath is the key's path below
    // HKEY_LOCAL_MACHINE, where the subkeys are opened.
    static HRESULT OutputRegSubKeyData(HKEY hKey, CResultLog& rResultLog);
    static HRESULT OutputRegSubKey(HKEY hKey, const std::wstring& sPath, CResultLog& rResultLog);

    // A folder as text: its files, then its subfolders.
    static HRESULT OutputFileInfos(const std::wstring& sDirPath, CResultLog& rResultLog);
    // A folder and all below it as comma-separated rows. The file is made at the first row: no file in the tree, no
    // CSV.
    static HRESULT OutputVlmFileList(const std::wstring& sDirPath, const std::wstring& sCsvPath);

    // The installed DirectX version as a number, 0x00MMmmll with 1 for the letter "a" and 0 for none, and as text
    // ("9.0c"), from the diagnostics or, where they fail, from the versions of its files.
    static HRESULT GetDXVersion(DWORD& rdwVersion, std::wstring& rsVersion);

private:
    static HRESULT GetDirectXVersionViaDxDiag(DWORD& rdwMajor, DWORD& rdwMinor, wchar_t& rcLetter);
    static HRESULT GetDirectXVerionViaFileVersions(DWORD& rdwMajor, DWORD& rdwMinor, wchar_t& rcLetter);
};
