// Which file or folder stands behind a path, whatever the spelling. Needs kernel32 alone.
#pragma once

#include <optional>
#include <string>

#include "platform/Handle.h"

struct CFileIdentity
{
    DWORD dwVolume;
    ULONGLONG ullIndex;
    bool operator==(const CFileIdentity&) const = default;
};

// Nothing for a path that cannot be opened, and where the file system has no numbers: all are 0 then, or all bits set.
[[nodiscard]] inline std::optional<CFileIdentity> IdentityOf(const std::wstring& sPath)
{
    const CFileHandle hFile(::CreateFileW(sPath.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                          nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    BY_HANDLE_FILE_INFORMATION Info;
    if (!hFile || !::GetFileInformationByHandle(hFile.Get(), &Info))
        return std::nullopt;
    const ULONGLONG ullIndex = ULONGLONG{ Info.nFileIndexHigh } << 32 | Info.nFileIndexLow;
    if (ullIndex == 0 || ullIndex == ~0ull)
        return std::nullopt;
    return CFileIdentity{ Info.dwVolumeSerialNumber, ullIndex };
}
