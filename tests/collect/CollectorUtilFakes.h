// What the tests of the collectors share: the folders, files, times and registry roots of a described PC.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>

#include "platform/Path.h"
#include "support/FakeRoots.h"
#include "support/FakeShellFolders.h"
#include "support/FakeVersions.h"
#include "support/Golden.h"
#include "support/ImportPatch.h"

inline FILETIME FileTimeOf(const SYSTEMTIME& rLocal)
{
    FILETIME Local, Time;
    ::SystemTimeToFileTime(&rLocal, &Local);
    ::LocalFileTimeToFileTime(&Local, &Time);
    return Time;
}

// Every file: made 2013/01/02 03:04:05, read 2013/12/31 23:59:58, written 2014/07/08 09:10:11.
inline auto FakeFileTimes()
{
    return FakeImport<decltype(::GetFileTime)>("GetFileTime", [](auto, auto* pCreation, auto* pAccess, auto* pWrite) {
        if (pCreation != nullptr)
            *pCreation = FileTimeOf({ 2013, 1, 0, 2, 3, 4, 5, 0 });
        if (pAccess != nullptr)
            *pAccess = FileTimeOf({ 2013, 12, 0, 31, 23, 59, 58, 0 });
        *pWrite = FileTimeOf({ 2014, 7, 0, 8, 9, 10, 11, 0 });
        return TRUE;
    });
}

// Files named "lib.dll" have a resource with two translations; no other file has one.
inline std::wstring LibraryVersion(const std::wstring& sPath, const std::wstring& sQuery)
{
    static const std::map<std::wstring, std::wstring> Texts{
        { L"\\", L"fixed" },
        { L"\\VarFileInfo\\Translation", L"\x0411\x04B0\x0409\x04B0" },
        { L"\\StringFileInfo\\041104b0\\FileVersion", L"1, 2, 3, 4" },
        { L"\\StringFileInfo\\041104b0\\Comments", L"a \"b\", c" },
        { L"\\StringFileInfo\\041104b0\\OriginalFilename", L"L" },
        { L"\\StringFileInfo\\040904b0\\CompanyName", L"of the second translation" },
    };
    const auto it = Texts.find(sQuery);
    return it != Texts.end() && FileNamePart(sPath) == L"lib.dll" ? it->second : std::wstring();
}

// A table as the platform fills it in: its head, then its rows.
template <typename Row>
std::vector<BYTE> TableOf(const std::vector<DWORD>& Head, const std::vector<Row>& Rows)
{
    const std::size_t nHead = Head.size() * sizeof(DWORD), nRows = Rows.size() * sizeof(Row);
    std::vector<BYTE> Bytes(nHead + nRows);
    std::copy_n(reinterpret_cast<const BYTE*>(Head.data()), nHead, Bytes.data());
    std::copy_n(reinterpret_cast<const BYTE*>(Rows.data()), nRows, Bytes.data() + nHead);
    return Bytes;
}

// Answers a caller that asks for the size first.
inline DWORD GiveSized(const std::vector<BYTE>& Bytes, void* pBuffer, DWORD* pdwSize, DWORD dwTooSmall)
{
    const bool bFits = pBuffer != nullptr && *pdwSize >= Bytes.size();
    *pdwSize = static_cast<DWORD>(Bytes.size());
    if (bFits)
        std::copy(Bytes.begin(), Bytes.end(), static_cast<BYTE*>(pBuffer));
    return bFits ? ERROR_SUCCESS : dwTooSmall;
}

// A folder named "up" is, by its identity, the one that holds its parent.
inline auto FakeJunctions()
{
    return FakeImport<decltype(::GetFileInformationByHandle)>("GetFileInformationByHandle", [](auto hFile, auto pInfo) {
        wchar_t aPath[MAX_PATH] = L"";
        ::GetFinalPathNameByHandleW(hFile, aPath, MAX_PATH, 0);
        const std::filesystem::path Path = aPath;
        const auto Real = Path.filename() == L"up" ? Path.parent_path().parent_path() : Path;
        *pInfo = {};
        pInfo->nFileIndexLow = static_cast<DWORD>(std::filesystem::hash_value(Real));
        return TRUE;
    });
}
