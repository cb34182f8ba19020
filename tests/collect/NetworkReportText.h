// Reading the reports of the collectors in tests.
#pragma once

#include <gmock/gmock.h>

#include <regex>

#include "support/TestFolder.h"

// The report behind its banner, lines ended by a bare "\n"; every line end must be CR LF. The banner's two lines must stand.
inline std::string ReportBody(const std::wstring& sPath)
{
    std::string sText = ReadBytes(sPath);
    static const std::regex Banner("^_{48}\r\n\\[\\d{4}/\\d\\d/\\d\\d \\d\\d:\\d\\d:\\d\\d\\] Version \\d+\\.\\d+\\.\\d+\\.\\d+\r\n");
    std::smatch match;
    if (!std::regex_search(sText, match, Banner))
        ADD_FAILURE() << "no banner: " << sText;
    sText = std::string(match.suffix());
    std::string sLines;
    for (std::size_t n = 0; n < sText.size(); ++n)
    {
        // A bare line feed is shown as such.
        if (sText[n] == '\n')
            sLines += "<LF>";
        else if (sText.compare(n, 2, "\r\n") == 0)
            sLines += sText[++n];
        else
            sLines += sText[n];
    }
    return sLines;
}

// The text of tests/data that a report must have behind its banner.
inline std::string Golden(const std::wstring& sName)
{
    return ReadBytes(TEST_DATA L"/" + sName);
}
