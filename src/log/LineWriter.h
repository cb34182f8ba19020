// The one writer of line files. Nothing is buffered: each line is one write, and what has been written stands in the
// file at once. Lines are formatted wide, have at most 2,047 characters (a longer one is refused, not cut), and are
// stored in the thread's ANSI code page with CR LF behind them.
#pragma once

#include <string>

#include "log/FunctionLog.h"
#include "platform/Handle.h"

// What a user of the writer is called in the log.
struct CLineWriterNames
{
    opLogSys::CFunctionName Write;
    opLogSys::CFunctionName WriteLine;
    const wchar_t* pHandle;
};

class CLineWriter
{
public:
    CLineWriter(const CLineWriter&) = delete;
    CLineWriter& operator=(const CLineWriter&) = delete;

    // Formats the text and writes it with a line end behind it. E_UNEXPECTED when no file is open, E_FAIL when the
    // text is too long, else the code of the write.
    template <typename... Args>
    HRESULT WriteLine(CFormat<Args...> format, const Args&... args)
    {
        return WriteText(m_rNames.WriteLine, L"\r\n", format.pText, format_detail::Pass(args)...);
    }

    // Closing twice does no harm.
    void Close() { m_hFile.Close(); }

protected:
    // The names live as long as the program.
    explicit CLineWriter(const CLineWriterNames& rNames) : m_rNames(rNames) {}
    ~CLineWriter() = default;

    // Creates or empties the file, for this writer alone; throws through its caller's log.
    void OpenFile(const CFunctionLog& log, const std::wstring& sPath);
    HRESULT WriteText(opLogSys::CFunctionName function, const wchar_t* pLineEnd, const wchar_t* pFormat, ...);

    const CLineWriterNames& m_rNames;

private:
    CFileHandle m_hFile;
    std::string m_sBytes; // of the last line; only its room is of use
};
