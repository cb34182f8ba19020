#include "support/LogWatch.h"

#include "app/CmdLineParam.h"
#include "platform/Path.h"
#include "support/TestFolder.h"

namespace
{

std::string LogText()
{
    std::wstring sPath;
    CCmdLineParam::OfThisProcess().GetResultDirPath(sPath);
    sPath = JoinPath(sPath, L"Kelvarin.log");
    return FileExists(sPath) ? ReadBytes(sPath) : std::string();
}

} // namespace

CLogWatch::CLogWatch() : m_nStart(LogText().size()) {}

std::vector<std::string> CLogWatch::Records() const
{
    std::vector<std::string> Records;
    const std::string sText = LogText();
    for (std::size_t n = m_nStart; n < sText.size();)
    {
        const std::size_t nEnd = sText.find("\r\n", n);
        const std::string sLine = sText.substr(n, nEnd - n);
        n = nEnd == sText.npos ? nEnd : nEnd + 2;
        // "[date time][process] 00042:[Function] message"
        const std::size_t nRecord = sLine.find(":[", sLine.find("] "));
        if (nRecord != sLine.npos)
            Records.push_back(sLine.substr(nRecord + 1));
    }
    return Records;
}
