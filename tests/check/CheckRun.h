// One run of a checker, or of the check of a whole manifest.
#pragma once

#include <gtest/gtest.h>

#include "config/ConfigFile.h"
#include "log/ResultLog.h"
#include "support/Golden.h"

// "number failed", and the lines of the result file. call(CResultLog&, UINT32*) gives a result code.
template <typename Call>
std::string RunCheck(const Call& call)
{
    const CTestFolder folder;
    CResultLog log;
    EXPECT_EQ(log.Open(folder / L"result.txt", false), S_OK);
    UINT32 nFailed = 4711; // a checker sets its count, it does not add to it
    EXPECT_EQ(call(log, &nFailed), S_OK);
    log.Close();
    return std::to_string(nFailed) + " failed\r\n" + ReadBytes(folder / L"result.txt");
}
