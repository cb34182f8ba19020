// The folders of a collector: the one that it writes into, and those of the shell that it lists.
#pragma once

#include <string>

#include "log/FunctionLog.h"

// Makes the folder with the missing ones above it, and refuses an empty one; failed is the record of a failure.
void CreateOutputFolder(
    const CFunctionLog& log, const std::wstring& sOutDirPath,
    CFormat<std::wstring, HRESULT> failed = L"COpdDirectoryHelper::CreateDirectoryEx( \"%s\" ) failed. [0x%08X]");

// A folder of the shell by its id, whose name stands in the record; throws when the PC has none.
std::wstring RequireShellFolder(const CFunctionLog& log, int nCsidl, const wchar_t* pName);
