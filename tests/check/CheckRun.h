// One run of a checker, with the lines that it leaves in the result file.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>

#include "log/ResultLog.h"
#include "support/Golden.h"

struct CCheckRun
{
    HRESULT hr = E_FAIL;
    UINT32 nFailed = 0;
    std::vector<std::string> Lines;
};

// call(CResultLog&, UINT32*) gives a result code.
template <typename Call>
CCheckRun RunCheck(const Call& call)
{
    const CTestFolder folder;
    CCheckRun run;
    CResultLog log;
    EXPECT_EQ(log.Open(folder / L"result.txt", false), S_OK);
    run.nFailed = 4711; // a checker sets its count, it does not add to it
    run.hr = call(log, &run.nFailed);
    log.Close();
    const std::string sText = ReadBytes(folder / L"result.txt");
    std::size_t nStart = 0;
    for (std::size_t nEnd; (nEnd = sText.find("\r\n", nStart)) != sText.npos; nStart = nEnd + 2)
        run.Lines.push_back(sText.substr(nStart, nEnd - nStart));
    EXPECT_EQ(nStart, sText.size()) << "the last line has no end";
    return run;
}

// The lines of a run in which each failed line was counted, and nothing else.
template <typename Call>
std::string CountedLines(const Call& call)
{
    const CCheckRun run = RunCheck(call);
    EXPECT_EQ(run.hr, S_OK);
    EXPECT_EQ(run.nFailed, std::ranges::count_if(run.Lines, [](const auto& s) { return s.starts_with("Failed: "); }));
    return Joined(run.Lines);
}
