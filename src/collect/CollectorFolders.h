// Where a collector starts: the folder that it writes into, and the folders that it lists.
#pragma once

#include <string>

#include "log/FunctionLog.h"

// Makes the folder with the missing ones above it, and refuses an empty one.
[[nodiscard]] HRESULT MakeOutputFolder(const std::wstring& sOutDirPath);
// The same, but throws; failed is the record of a failure.
void CreateOutputFolder(
    const CFunctionLog& log, const std::wstring& sOutDirPath,
    CFormat<std::wstring, HRESULT> failed = L"COpdDirectoryHelper::CreateDirectoryEx( \"%s\" ) failed. [0x%08X]");

// A folder of the shell by its id, whose name stands in the record; throws when the PC has none.
std::wstring RequireShellFolder(const CFunctionLog& log, int nCsidl, const wchar_t* pName);

// What GetWindowsDirectoryW or GetSystemDirectoryW gives, as pName says; throws when it gives nothing.
std::wstring RequireSystemFolder(const CFunctionLog& log, UINT(WINAPI* pGet)(LPWSTR, UINT), const wchar_t* pName);
