// Version resources as a test tells them, for as long as the object lives. One at a time.
#pragma once

#include <cwchar>
#include <functional>
#include <string>

#include "support/ImportPatch.h"

class CFakeVersions
{
public:
    // A file's answer to a query; empty: there is none. Without one to "\\" it has no resource.
    using CTell = std::function<std::wstring(const std::wstring& sPath, const std::wstring& sQuery)>;
    explicit CFakeVersions(CTell tell) { s_Tell = std::move(tell); }

private:
    // The path, which is shorter, then room for an answer.
    static constexpr DWORD BlockSize = 4096;

    static DWORD WINAPI Size(const wchar_t* pPath, DWORD*)
    {
        ::SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
        return s_Tell(pPath, L"\\").empty() ? 0 : BlockSize;
    }
    static BOOL WINAPI Read(const wchar_t* pPath, DWORD, DWORD, void* pBlock)
    {
        return ::lstrcpyW(static_cast<wchar_t*>(pBlock), pPath) != nullptr;
    }
    static BOOL WINAPI Query(const void* pBlock, const wchar_t* pQuery, void** ppValue, UINT* pnLength)
    {
        auto* const pPath = static_cast<wchar_t*>(const_cast<void*>(pBlock));
        const std::wstring sText = s_Tell(pPath, pQuery);
        *ppValue = std::wmemcpy(pPath + BlockSize / 4, sText.c_str(), sText.size() + 1);
        *pnLength = 2 * (sText.size() + 1);
        return sText.empty() ? FailedCall(ERROR_RESOURCE_TYPE_NOT_FOUND) : TRUE;
    }

    static inline CTell s_Tell;
    CImportPatch<decltype(Size)> m_Size{ "GetFileVersionInfoSizeW", Size };
    CImportPatch<decltype(Read)> m_Read{ "GetFileVersionInfoW", Read };
    CImportPatch<decltype(Query)> m_Query{ "VerQueryValueW", Query };
};
