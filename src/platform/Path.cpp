#include "platform/Path.h"

#include <shlobj.h>
#include <shlwapi.h>

#include <algorithm>

std::wstring JoinPath(const std::wstring& sDirPath, const std::wstring& sName)
{
    if (sName.empty())
        return sDirPath;
    // PathAppendW empties its buffer when the result would not fit, and may cut a name behind an empty folder.
    wchar_t aPath[MAX_PATH];
    if (sDirPath.size() < MAX_PATH && sName.size() < MAX_PATH)
    {
        std::copy_n(sDirPath.c_str(), sDirPath.size() + 1, aPath);
        if (::PathAppendW(aPath, sName.c_str()))
            return aPath;
    }
    // As the shell has it: leading backslashes go, but for a path of another computer.
    if (sDirPath.empty())
        return sName.starts_with(L"\\\\") ? sName
                                          : sName.substr(std::min(sName.find_first_not_of(L'\\'), sName.size()));
    return WithTrailingBackslash(sDirPath) + sName;
}

std::wstring EntryPath(const std::wstring& sDirPath, const std::wstring& sName)
{
    return WithTrailingBackslash(sDirPath) + sName;
}

std::wstring_view FileNamePart(std::wstring_view sPath)
{
    const auto nCut = sPath.find_last_of(L"\\/:");
    return nCut == sPath.npos ? sPath : sPath.substr(nCut + 1);
}

std::wstring DirectoryPart(std::wstring_view sPath)
{
    return WithoutTrailingBackslash(std::wstring(sPath.substr(0, sPath.size() - FileNamePart(sPath).size())));
}

std::wstring WithoutTrailingBackslash(std::wstring sPath)
{
    while (sPath.ends_with(L'\\') && (sPath.size() != 3 || sPath[1] != L':'))
        sPath.pop_back();
    return sPath;
}

std::wstring WithTrailingBackslash(const std::wstring& sPath)
{
    return sPath.ends_with(L'\\') ? sPath : sPath + L'\\';
}

std::wstring WithNameTail(const std::wstring& sPath, const std::wstring& sTail)
{
    const std::size_t nName = sPath.size() - FileNamePart(sPath).size();
    const std::size_t nDot = sPath.rfind(L'.');
    std::wstring sResult = sPath;
    return sResult.insert(nDot == sPath.npos || nDot < nName ? sPath.size() : nDot, sTail);
}

bool PathExists(const std::wstring& sPath)
{
    return ::GetFileAttributesW(sPath.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool FolderExists(const std::wstring& sPath)
{
    return IsFolder(::GetFileAttributesW(sPath.c_str()));
}

DWORD MakeFolder(const std::wstring& sPath, SECURITY_ATTRIBUTES* pSecurity)
{
    if (PathExists(sPath))
        return ERROR_SUCCESS;
    const int nError = ::SHCreateDirectoryExW(nullptr, sPath.c_str(), pSecurity);
    // Another process of the run may have been faster.
    return PathExists(sPath) ? ERROR_SUCCESS : static_cast<DWORD>(nError);
}

std::wstring SystemFolder(UINT(WINAPI* pGet)(LPWSTR, UINT))
{
    wchar_t aPath[1024] = L"";
    if (pGet(aPath, static_cast<UINT>(std::size(aPath))) < std::size(aPath))
        return aPath;
    ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return {};
}

std::wstring ModulePath()
{
    std::wstring sPath(1024, L'\0');
    const DWORD nLength = ::GetModuleFileNameW(nullptr, sPath.data(), static_cast<DWORD>(sPath.size()));
    sPath.resize(nLength < sPath.size() ? nLength : 0); // a path that fills the buffer is cut
    return sPath;
}

std::wstring ModuleDirPath()
{
    return DirectoryPart(ModulePath());
}

HRESULT GetShellFolder(int nCsidl, std::wstring& rsPath)
{
    wchar_t aPath[MAX_PATH] = L"";
    const HRESULT hr = ::SHGetFolderPathW(nullptr, nCsidl, nullptr, SHGFP_TYPE_CURRENT, aPath);
    rsPath = SUCCEEDED(hr) ? WithoutTrailingBackslash(aPath) : std::wstring();
    return hr;
}

bool GetSpecialFolder(int nCsidl, bool bCreate, std::wstring& rsPath)
{
    wchar_t aPath[MAX_PATH] = L"";
    const bool bFound = ::SHGetSpecialFolderPathW(nullptr, aPath, nCsidl, bCreate) != FALSE;
    rsPath = bFound ? WithoutTrailingBackslash(aPath) : std::wstring();
    return bFound;
}
