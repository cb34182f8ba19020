// The one writer of line files. Nothing is buffered: each line is one write, and what has been written stands in the
// file at once. Lines are formatted wide, have at most 2,047 characters (a longer one is refused, not cut), and are
// stored in the thread's ANSI code page with CR LF behind them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "log/FunctionLog.h"
#include "platform/CodePage.h"
#include "platform/Handle.h"

// What a user of the writer is called in the log.
struct CLineWriterNames
{
    opLogSys::CFunctionName Write;
    opLogSys::CFunctionName WriteLine;
    const wchar_t* pHandle;
};

// The line that parts the entries of a dump; wider than that of the reports.
inline constexpr const wchar_t* DumpSeparator =
    L"__________________________________________________________________________________________________";

class CLineWriter
{
public:
    // Of a line, in characters, without the terminator.
    static constexpr std::size_t MaxText = 2047;

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
    explicit CLineWriter(const CLineWriterNames& rNames) : m_rNames(rNames), m_Bytes((MaxText + MaxLineEnd) * MaxNarrow)
    {
    }
    ~CLineWriter() = default;

    // Creates or empties the file, for this writer alone; throws through its caller's log.
    void OpenFile(const CFunctionLog& log, const std::wstring& sPath);
    HRESULT WriteText(opLogSys::CFunctionName function, std::wstring_view sLineEnd, const wchar_t* pFormat, ...);

    const CLineWriterNames& m_rNames;

private:
    static constexpr std::size_t MaxLineEnd = 2;

    CFileHandle m_hFile;
    std::vector<char> m_Bytes; // room for a line
};
