#include "log/LineWriter.h"

#include "platform/HResult.h"

void CLineWriter::OpenFile(const CFunctionLog& log, const std::wstring& sPath)
{
    m_hFile.Close();
    m_hFile.Attach(::CreateFileW(sPath.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!m_hFile)
        log.ThrowCode(LastErrorResult(), L"CAtlFile::Create( \"%s\" ) failed. [0x%08X]", sPath);
}

HRESULT CLineWriter::WriteText(opLogSys::CFunctionName function, std::wstring_view sLineEnd, const wchar_t* pFormat,
                               ...)
{
    std::va_list args;
    va_start(args, pFormat);
    CFunctionLog log(function);
    const HRESULT hrResult = log.Run([&] {
        if (!m_hFile)
            log.Fail(E_UNEXPECTED, L"%s == NULL", m_rNames.pHandle);
        if (pFormat == nullptr)
            log.Fail(E_POINTER, L"pFormatMsg == NULL");

        wchar_t aText[MaxText + 1 + MaxLineEnd];
        const int nLength = FormatTo({ aText, MaxText + 1 }, pFormat, args);
        if (nLength < 0)
            log.Fail(E_FAIL, L"::_vsntprintf_s() failed. [%d]", nLength);

        // A listing has hundreds of thousands of lines: each costs one conversion and no memory.
        const std::size_t nText = static_cast<std::size_t>(nLength) + sLineEnd.copy(aText + nLength, sLineEnd.size());
        const std::size_t nBytes = ToNarrow({ aText, nText }, CP_THREAD_ACP, m_Bytes);
        DWORD dwWritten = 0;
        if (!::WriteFile(m_hFile.Get(), m_Bytes.data(), static_cast<DWORD>(nBytes), &dwWritten, nullptr))
            log.ThrowCode(LastErrorResult(), L"CAtlFile::Write() failed. [0x%08X]");
    });
    va_end(args);
    return hrResult;
}
