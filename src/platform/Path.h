// Path texts, and the folders of the program and of the shell.
#pragma once

#include <string>
#include <string_view>

#include "platform/Win32.h"

// The path append of the whole program. Within 260 characters it is the shell's own: ".." is resolved, and a name that
// is an absolute path replaces the folder. Above that it is plain folder, backslash, name. An empty name leaves the
// folder as it is.
[[nodiscard]] std::wstring JoinPath(const std::wstring& sDirPath, const std::wstring& sName);

// The path of an entry whose name the file system itself gave: no part of the name means another folder.
[[nodiscard]] std::wstring EntryPath(const std::wstring& sDirPath, const std::wstring& sName);

// What stands behind the last backslash, slash or drive colon; the whole text when there is none.
[[nodiscard]] std::wstring_view FileNamePart(std::wstring_view sPath);
// The path without its file name and without a trailing backslash, but for a root ("C:\").
[[nodiscard]] std::wstring DirectoryPart(std::wstring_view sPath);
// The path without trailing backslashes (a root keeps its own), and with exactly one.
[[nodiscard]] std::wstring WithoutTrailingBackslash(std::wstring sPath);
[[nodiscard]] std::wstring WithTrailingBackslash(const std::wstring& sPath);
// The path with sTail between its name and its extension.
[[nodiscard]] std::wstring WithNameTail(const std::wstring& sPath, const std::wstring& sTail);

// True for the attributes of a folder. INVALID_FILE_ATTRIBUTES, whose bits are all set, are none.
[[nodiscard]] constexpr bool IsFolder(DWORD dwAttributes)
{
    return dwAttributes != INVALID_FILE_ATTRIBUTES && (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Whether there is something of that name, and whether it is a folder.
[[nodiscard]] bool PathExists(const std::wstring& sPath);
[[nodiscard]] bool FolderExists(const std::wstring& sPath);

// Makes the folder with the missing ones above it. ERROR_SUCCESS when there is something of that name before or
// afterwards, be it a file, and whoever made it; otherwise the platform's status.
DWORD MakeFolder(const std::wstring& sPath, SECURITY_ATTRIBUTES* pSecurity = nullptr);

// What GetSystemDirectoryW or GetWindowsDirectoryW gives; empty on failure (the last error then says why).
[[nodiscard]] std::wstring SystemFolder(UINT(WINAPI* pGet)(LPWSTR, UINT));

// The full path of the running program; empty when the platform does not tell it (the last error then says why).
[[nodiscard]] std::wstring ModulePath();
// The folder of the running program, without a trailing backslash.
[[nodiscard]] std::wstring ModuleDirPath();

// A shell folder (CSIDL_...) into rsPath, without a trailing backslash; empty on failure. The first asks
// SHGetFolderPathW and gives its code, the second SHGetSpecialFolderPathW, whose failure stands in the last error.
[[nodiscard]] HRESULT GetShellFolder(int nCsidl, std::wstring& rsPath);
[[nodiscard]] bool GetSpecialFolder(int nCsidl, bool bCreate, std::wstring& rsPath);
