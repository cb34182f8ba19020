#include "log/LineWriter.h"

#include <cwchar>

#include "platform/AnsiText.h"
#include "platform/HResult.h"

namespace
{

// In characters, without the terminator.
constexpr std::size_t MaxText = 2047;
constexpr std::size_t MaxLineEnd = 2;

} // namespace

void CLineWriter::OpenFile(const CFunctionLog& log, const std::wstring& sPath)
{
    m_hFile.Close();
    m_hFile.Attach(::CreateFileW(sPath.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!m_hFile)
        log.ThrowCode(LastErrorResult(), L"CAtlFile::Create( \"%s\" ) failed. [0x%08X]", sPath);
}

HRESULT CLineWriter::WriteText(opLogSys::CFunctionName function, const wchar_t* pLineEnd, const wchar_t* pFormat, ...)
{
    std::va_list args;
    va_start(args, pFormat);
    CFunctionLog log(function);
    const HRESULT hrResult = log.Run([&] {
        if (!m_hFile)
            log.Fail(E_UNEXPECTED, L"%s == NULL", m_rNames.pHandle);
        if (pFormat == nullptr)
            log.Fail(E_POINTER, L"pFormatMsg == NULL");

        wchar_t aText[MaxText + MaxLineEnd + 1];
        const int nLength = FormatTo({ aText, MaxText + 1 }, pFormat, args);
        if (nLength < 0)
            log.Fail(E_FAIL, L"::_vsntprintf_s() failed. [%d]", nLength);

        // A listing has hundreds of thousands of lines: each costs one conversion, and all share one block of memory.
        std::wcscat(aText, pLineEnd);
        ToNarrow(aText, CP_THREAD_ACP, m_sBytes);
        DWORD dwWritten = 0;
        if (!::WriteFile(m_hFile.Get(), m_sBytes.data(), static_cast<DWORD>(m_sBytes.size()), &dwWritten, nullptr))
            log.ThrowCode(LastErrorResult(), L"CAtlFile::Write() failed. [0x%08X]");
    });
    va_end(args);
    return hrResult;
}
