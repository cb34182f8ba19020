// Libraries of the platform that not every system has: bound at run time, and from the system folder only.
#pragma once

#include <string>

#include "platform/Handle.h"
#include "platform/Path.h"

// Null when the library is missing; the last error says why.
[[nodiscard]] inline CModuleHandle LoadSystemLibrary(const wchar_t* pName)
{
    const std::wstring sDirPath = SystemFolder(::GetSystemDirectoryW);
    if (sDirPath.empty())
        return {};
    // No path function of the shell: this one also loads the shell.
    const std::wstring sPath = sDirPath + L'\\' + pName;
    return CModuleHandle(::LoadLibraryExW(sPath.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
}

// Stores one function of the library; false when there is none.
template <typename Function>
bool BindFunction(HMODULE hModule, const char* pName, Function*& rpFunction)
{
    rpFunction = hModule != nullptr
                     ? reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(hModule, pName)))
                     : nullptr;
    return rpFunction != nullptr;
}
template <typename Function>
bool BindFunction(const CModuleHandle& hModule, const char* pName, Function*& rpFunction)
{
    return BindFunction(hModule.Get(), pName, rpFunction);
}
