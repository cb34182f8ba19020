// Files and folders: reading, searching, times and sizes, and the path form that comparisons use.
#pragma once

#include <string>
#include <vector>

#include "platform/Win32.h"

class COpdDirectoryHelper
{
public:
    // Creates the folder and the missing ones above it. 0 when it is there afterwards; E_UNEXPECTED when a file is in
    // the way. Unlike MakeFolder it refuses a relative path, also of a folder that is there.
    static HRESULT CreateDirectoryExW(const std::wstring& sPath);
};

class COpdFileHelper
{
public:
    // The whole file in a block from CoTaskMemAlloc, which the caller frees, also when the read itself failed. Empty
    // files are refused with E_UNEXPECTED, as is what cannot be opened or read. The size has 32 bits: of a file of 4
    // GiB and more only the part above the last full 4 GiB counts.
    static HRESULT ReadFile(const std::wstring& sPath, BYTE** ppData, DWORD* pnSize);

    // Times and size, of files that others hold open too. Of the size only the low 32 bits are filled.
    static HRESULT GetFileInfo(const std::wstring& sPath, FILETIME& rCreation, FILETIME& rAccess, FILETIME& rWrite,
                               ULONGLONG& rullSize);
    static HRESULT GetFileInfo(const std::wstring& sPath, FILETIME& rCreation, FILETIME& rAccess, FILETIME& rWrite,
                               DWORD& rdwSize);
    // The times as local time, "YYYY/MM/DD hh:mm:ss".
    static HRESULT GetFileInfo(const std::wstring& sPath, std::wstring& rsCreation, std::wstring& rsAccess,
                               std::wstring& rsWrite, ULONGLONG& rullSize);

    // Appends the bare names of all entries that match, "." and ".." included, in the order of the platform.
    static HRESULT FindFiles(const std::wstring& sPattern, std::vector<std::wstring>& rNames);
    // The same; a pattern or folder without a match is no failure.
    static HRESULT EnumFiles(const std::wstring& sPattern, std::vector<std::wstring>& rNames);

    // The path absolute, in lower case, with single backslashes and without "." and ".." inside. It need not exist.
    // Names that end in "\." or "\.." stay as they are.
    static HRESULT GetAbsolutePath(const std::wstring& sPath, std::wstring& rsAbsolute);
};
