#include "log/LogFile.h"

#include "platform/CodePage.h"
#include "platform/Format.h"
#include "platform/Path.h"

namespace opLogSys
{
namespace
{

constexpr std::size_t MaxBytes = 2047;

CFileHandle CreateForAppending(const std::wstring& sPath, DWORD dwAccess, SECURITY_ATTRIBUTES* pSecurity)
{
    return CFileHandle(::CreateFileW(sPath.c_str(), dwAccess, FILE_SHARE_READ, pSecurity, OPEN_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
}

void WriteBytes(HANDLE hFile, const std::string& sBytes)
{
    DWORD dwWritten = 0;
    ::WriteFile(hFile, sBytes.data(), static_cast<DWORD>(sBytes.size()), &dwWritten, nullptr);
}

} // namespace

CFileHandle OpenLogFile(std::wstring& rsPath, DWORD dwAccess, SECURITY_ATTRIBUTES* pSecurity, Encoding eEncoding)
{
    CFileHandle hFile = CreateForAppending(rsPath, dwAccess, pSecurity);
    if (!hFile && PathExists(rsPath))
    {
        for (int n = 0; n <= 99 && !hFile; ++n)
        {
            const std::wstring sOther = WithNameTail(rsPath, FormatText(L"(%02d)", n));
            hFile = CreateForAppending(sOther, dwAccess, pSecurity);
            if (hFile)
                rsPath = sOther;
        }
    }
    if (!hFile)
        return hFile;

    LARGE_INTEGER Position{};
    ::SetFilePointerEx(hFile.Get(), LARGE_INTEGER{}, &Position, FILE_END);
    if (Position.QuadPart == 0 && eEncoding == Encoding::Utf8)
        WriteByteOrderMark(hFile.Get());
    return hFile;
}

void WriteLogText(HANDLE hFile, const wchar_t* pText, Encoding eEncoding)
{
    WriteBytes(hFile, ToNarrowLimited(pText, eEncoding == Encoding::Utf8 ? CP_UTF8 : CP_ACP, MaxBytes));
}

void WriteByteOrderMark(HANDLE hFile)
{
    WriteBytes(hFile, "\xEF\xBB\xBF");
}

} // namespace opLogSys
