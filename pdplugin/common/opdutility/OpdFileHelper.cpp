#include "opdutility/OpdFileHelper.h"

#include <shlobj.h>

#include "log/FunctionLog.h"
#include "platform/Format.h"
#include "platform/HResult.h"
#include "platform/Handle.h"
#include "platform/LocalTime.h"
#include "platform/Path.h"

HRESULT COpdDirectoryHelper::CreateDirectoryExW(const std::wstring& sPath)
{
    CFunctionLog log;
    return log.Run([&]() -> HRESULT {
        const int nError = ::SHCreateDirectoryExW(nullptr, WithoutTrailingBackslash(sPath).c_str(), nullptr);
        if (nError == ERROR_SUCCESS || nError == ERROR_FILE_EXISTS || nError == ERROR_ALREADY_EXISTS)
            return FolderExists(sPath) ? S_OK : E_UNEXPECTED;
        return HResultFromWin32(static_cast<DWORD>(nError));
    });
}

HRESULT COpdFileHelper::ReadFile(const std::wstring& sPath, BYTE** ppData, DWORD* pnSize)
{
    CFunctionLog log;
    log.Trace(L"File: %s", sPath);
    return log.Run([&] {
        if (ppData == nullptr)
            log.Fail(E_POINTER, L"ppData was NULL.");
        if (pnSize == nullptr)
            log.Fail(E_POINTER, L"pnSize was NULL.");

        const CFileHandle hFile(::CreateFileW(sPath.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                              FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
        if (!hFile)
            log.Throw(E_UNEXPECTED, L"::CreateFile( %s ) failed. [0x%08X].", sPath, LastErrorResult());
        const DWORD nSize = ::GetFileSize(hFile.Get(), nullptr);
        if (nSize == INVALID_FILE_SIZE)
            log.Throw(E_UNEXPECTED, L"::GetFileSize( %s ) failed. [0x%08X].", sPath, LastErrorResult());
        if (nSize == 0)
            log.Throw(E_UNEXPECTED, L"File size was 0. File:%s", sPath);

        *ppData = static_cast<BYTE*>(::CoTaskMemAlloc(nSize));
        if (*ppData == nullptr)
            log.Throw(E_OUTOFMEMORY, L"::CoTaskMemAlloc() failed.");
        *pnSize = nSize;
        DWORD nRead = 0;
        if (!::ReadFile(hFile.Get(), *ppData, nSize, &nRead, nullptr))
            log.Throw(E_UNEXPECTED, L"::ReadFile( %s ) failed. [0x%08X].", sPath, LastErrorResult());
        if (nRead != nSize)
            log.Throw(E_UNEXPECTED, L"ReadSize was %d[byte] File:%s", nRead, sPath);
    });
}

HRESULT COpdFileHelper::GetFileInfo(const std::wstring& sPath, FILETIME& rCreation, FILETIME& rAccess, FILETIME& rWrite,
                                    ULONGLONG& rullSize)
{
    CFunctionLog log;
    log.Trace(L"File: %s", sPath);
    return log.Run([&] {
        // Access 0 asks about a file that another process holds open, whatever it shares.
        const CFileHandle hFile(::CreateFileW(sPath.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                              nullptr, OPEN_EXISTING, FILE_FLAG_NO_BUFFERING, nullptr));
        if (!hFile)
            log.ThrowCode(LastErrorResult(), L"::CreateFile( %s ) failed. [0x%08X]", sPath);
        if (!::GetFileTime(hFile.Get(), &rCreation, &rAccess, &rWrite))
            log.ThrowCode(LastErrorResult(), L"::GetFileTime( %s ) failed. [0x%08X]", sPath);
        // Reports show the low 32 bits, also of files of 4 GiB and more; widening this would change their columns.
        rullSize = ::GetFileSize(hFile.Get(), nullptr);
    });
}

HRESULT COpdFileHelper::GetFileInfo(const std::wstring& sPath, FILETIME& rCreation, FILETIME& rAccess, FILETIME& rWrite,
                                    DWORD& rdwSize)
{
    CFunctionLog log;
    return log.Run([&] {
        ULONGLONG ullSize = 0;
        log.Check(GetFileInfo(sPath, rCreation, rAccess, rWrite, ullSize), L"GetFileInfo() failed.[0x%08X]");
        rdwSize = static_cast<DWORD>(ullSize);
    });
}

HRESULT COpdFileHelper::GetFileInfo(const std::wstring& sPath, std::wstring& rsCreation, std::wstring& rsAccess,
                                    std::wstring& rsWrite, ULONGLONG& rullSize)
{
    CFunctionLog log;
    return log.Run([&] {
        constexpr CFormat<std::wstring, HRESULT> Failed(L"COpdFileHelper::GetFileInfo( \"%s\" ) failed. [0x%08X]");
        FILETIME Creation, Access, Write;
        log.Check(GetFileInfo(sPath, Creation, Access, Write, rullSize), Failed, sPath);
        const struct
        {
            const FILETIME& rTime;
            std::wstring& rsText;
        } aTimes[] = { { Creation, rsCreation }, { Access, rsAccess }, { Write, rsWrite } };
        for (const auto& rEntry : aTimes)
        {
            const auto Time = LocalTimeOf(rEntry.rTime);
            if (!Time)
                log.ThrowCode(LastErrorResult(), Failed, sPath);
            rEntry.rsText = FormatText(L"%04d/%02d/%02d %02d:%02d:%02d", Time->wYear, Time->wMonth, Time->wDay,
                                       Time->wHour, Time->wMinute, Time->wSecond);
        }
    });
}

HRESULT COpdFileHelper::FindFiles(const std::wstring& sPattern, std::vector<std::wstring>& rNames)
{
    CFunctionLog log;
    log.Trace(L"Find: %s", sPattern);
    return log.Run([&] {
        WIN32_FIND_DATAW Entry;
        const CFindHandle hFind(::FindFirstFileW(sPattern.c_str(), &Entry));
        if (!hFind)
        {
            const HRESULT hr = LastErrorResult();
            log.Trace(L"::FindFirstFile( %s ) failed. [0x%08X]", sPattern, hr);
            log.Throw(hr);
        }
        do
            rNames.emplace_back(Entry.cFileName);
        while (::FindNextFileW(hFind.Get(), &Entry));
    });
}

HRESULT COpdFileHelper::EnumFiles(const std::wstring& sPattern, std::vector<std::wstring>& rNames)
{
    CFunctionLog log;
    return log.Run([&]() -> HRESULT {
        const HRESULT hr = FindFiles(sPattern, rNames);
        const bool bNothing = hr == HResultFromWin32(ERROR_FILE_NOT_FOUND) ||
                              hr == HResultFromWin32(ERROR_PATH_NOT_FOUND);
        return bNothing ? S_OK : hr;
    });
}
