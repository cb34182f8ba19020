#include "support/FakePcIo.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/CodePage.h"
#include "support/FakePcDevices.h"

namespace
{

constexpr DWORD OldConnection = 0x22040C, Connection = 0x220448, Descriptor = 0x220410;

DWORD AnswerFrom(const CFakeAnswers& rAnswers, CFakeRequest& rRequest)
{
    // The older request of a port has the same answer, but for a speed that is low or not.
    const bool bOld = rRequest.dwCode == OldConnection;
    char aQuestion[40];
    int nEnd = std::sprintf(aQuestion, "%06lX%s", bOld ? Connection : rRequest.dwCode, rRequest.In.empty() ? " -" : "");
    for (std::size_t n = 0; n < rRequest.In.size() && n < 10; ++n)
        nEnd += std::sprintf(aQuestion + nEnd, " %02X", rRequest.In[n]);
    const std::string_view sQuestion(aQuestion);
    const auto it = std::ranges::find_if(rAnswers, [&](const auto& r) { return sQuestion.starts_with(r.first); });
    if (it == rAnswers.end())
        return ERROR_NOT_READY;
    // A code of six digits, and three characters for each byte; the length is part of a descriptor's head.
    std::string sAnswer(rRequest.In.begin(), rRequest.In.end());
    sAnswer.resize(rRequest.dwCode == Descriptor ? 12 : (it->first.size() - 6) / 3);
    sAnswer += it->second;
    if (bOld && sAnswer.size() > 23)
        sAnswer[23] = sAnswer[23] == 0;
    rRequest.dwReturned = std::min(sAnswer.size(), rRequest.Out.size());
    std::copy_n(sAnswer.begin(), rRequest.dwReturned, rRequest.Out.begin());
    return ERROR_SUCCESS;
}

} // namespace

void CFakePcIo::Describe(const std::wstring& sPath)
{
    std::ifstream File(std::filesystem::path{ sPath });
    CFakeAnswers* pDevice = nullptr;
    std::string* pAnswer = nullptr;
    for (std::string sLine, sKey; std::getline(File, sLine);)
    {
        std::istringstream Line(sLine);
        Line >> sKey >> std::ws;
        if (sKey == "device" && std::getline(Line, sKey))
        {
            pDevice = &Answers[ToWide(sKey)];
            Add(ToWide(sKey), [pDevice](CFakeRequest& rRequest) { return AnswerFrom(*pDevice, rRequest); });
        }
        else if (sKey == "answer" && std::getline(Line, sKey, '='))
            *(pAnswer = &(*pDevice)[sKey.substr(0, sKey.size() - 1)]) = DescribedBytes(Line);
        else if (sKey == "and")
            *pAnswer += DescribedBytes(Line);
    }
}
