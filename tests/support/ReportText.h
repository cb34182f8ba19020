// Reading the reports of the collectors in tests.
#pragma once

#include <gmock/gmock.h>

#include <regex>

#include "support/TestFolder.h"

// The report behind its banner, lines ended by a bare "\n", and "<LF>" where the file has a bare one.
inline std::string ReportBody(const std::wstring& sPath)
{
    std::string sText = ReadBytes(sPath);
    static const std::regex Banner(
        "^_{48}\r\n\\[\\d{4}/\\d\\d/\\d\\d \\d\\d:\\d\\d:\\d\\d\\] Version \\d+\\.\\d+\\.\\d+\\.\\d+\r\n");
    std::smatch match;
    if (!std::regex_search(sText, match, Banner))
        ADD_FAILURE() << "no banner: " << sText;
    sText = std::regex_replace(std::string(match.suffix()), std::regex("\n"), "<LF>");
    return std::regex_replace(sText, std::regex("\r<LF>"), "\n");
}

// The text of tests/data that a report must have behind its banner.
inline std::string Golden(const std::wstring& sName)
{
    return ReadBytes(TEST_DATA L"/" + sName);
}
