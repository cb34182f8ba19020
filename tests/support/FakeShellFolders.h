// The shell's folders of a described PC.
#pragma once

#include <shlobj.h>

#include <map>
#include <string>

#include "support/ImportPatch.h"

// Gives the folders that it knows; every other one is missing.
inline auto FakeShellFolders(std::map<int, std::wstring> Folders)
{
    const auto answer = [Folders = std::move(Folders)](auto, int nCsidl, auto, auto, LPWSTR pPath) -> HRESULT {
        const auto it = Folders.find(nCsidl);
        if (it == Folders.end())
            return HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);
        ::lstrcpynW(pPath, it->second.c_str(), MAX_PATH);
        return S_OK;
    };
    return FakeImport<decltype(::SHGetFolderPathW)>("SHGetFolderPathW", answer);
}
