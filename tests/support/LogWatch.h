// What this process has written to the error log since the watch was made.
#pragma once

#include <string>
#include <vector>

#include "app/CmdLineParam.h"
#include "platform/Path.h"
#include "support/TestFolder.h"

// Where this process writes its records.
inline std::wstring ErrorLogPath()
{
    std::wstring sPath;
    CCmdLineParam::OfThisProcess().GetResultDirPath(sPath);
    return JoinPath(sPath, L"Kelvarin.log");
}

class CLogWatch
{
public:
    // The records as "[CThing::Read] message", without time, process and source line, in UTF-8.
    std::vector<std::string> Records() const
    {
        std::vector<std::string> Records;
        // A log that was full meanwhile goes on in a new file.
        const std::string sFull = LogText(L".bak");
        const std::string sText = (sFull.size() == m_nFull ? "" : sFull) + LogText();
        for (std::size_t n = m_nStart, nEnd; (nEnd = sText.find("\r\n", n)) != sText.npos; n = nEnd + 2)
        {
            // "[date time][process] 00042:[Function] message"
            const std::string sLine = sText.substr(n, nEnd - n);
            const std::size_t nRecord = sLine.find(":[", sLine.find("] "));
            if (nRecord != sLine.npos)
                Records.push_back(sLine.substr(nRecord + 1));
        }
        return Records;
    }

private:
    static std::string LogText(const wchar_t* pEnd = L"")
    {
        const std::wstring sPath = ErrorLogPath() + pEnd;
        return PathExists(sPath) ? ReadBytes(sPath) : std::string();
    }

    const std::size_t m_nStart = LogText().size(), m_nFull = LogText(L".bak").size();
};
