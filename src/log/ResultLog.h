// The text files that a run leaves for people to read, above all InstallCheckResult.txt.
#pragma once

#include <string>

#include "log/LineWriter.h"

// One instance may be used from several threads only when they never write at the same time.
class CResultLog : public CLineWriter
{
public:
    CResultLog();

    // Creates or empties the file. bWriteHeader: begins it with a line of underscores and the dated version of the
    // program; a header that could not be written is no failure.
    HRESULT Open(const std::wstring& sPath, bool bWriteHeader);

    // The same for a step that cannot go on without the file: throws, with its record.
    void OpenOrThrow(const CFunctionLog& log, const std::wstring& sPath, bool bWriteHeader);

    // As WriteLine, without the line end.
    template <typename... Args>
    HRESULT Write(CFormat<Args...> format, const Args&... args)
    {
        return WriteText(m_rNames.Write, L"", format.pText, format_detail::Pass(args)...);
    }

    void WriteSeparator();
    // The three lines that open a section: the separator, the title as it is given, an empty line.
    void WriteSectionHead(const std::wstring& sTitle);

private:
    void WriteHeader();
};
