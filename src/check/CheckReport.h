// What the checkers have in common: the walk over the records of a stage, and the way a failed entry is told.
#pragma once

#include "app/ProgressClient.h"
#include "log/FunctionLog.h"
#include "log/ResultLog.h"

// Ends the check of one entry: the text goes to the result file, then to the log, and hr is thrown.
template <typename... Args>
[[noreturn]] void FailEntry(const CFunctionLog& log, CResultLog& rResultLog, HRESULT hr, CFormat<Args...> format,
                            const Args&... args)
{
    rResultLog.WriteLine<Args...>(format, args...);
    log.Throw<Args...>(hr, format, args...);
}

// For each record: posts textOf(record) at its position and calls check(record); a negative result is handed to
// tell(record, hr), counts, and ends nothing.
template <typename Records, typename TextOf, typename Check, typename Tell>
void WalkRecords(const CProgressClient& rProgress, const Records& rRecords, UINT32* pulFailed, const TextOf& textOf,
                 const Check& check, const Tell& tell)
{
    UINT32 nPosition = 0;
    for (const auto& rRecord : rRecords)
    {
        rProgress.Update(nPosition++, textOf(rRecord));
        const HRESULT hr = check(rRecord);
        if (FAILED(hr))
        {
            tell(rRecord, hr);
            ++*pulFailed;
        }
    }
}

// The run operation of a checker: the count from 0, the walk, and the dialog's default text at the end.
template <typename Records, typename TextOf, typename Check, typename Tell>
HRESULT CheckRecords(CFunctionLog& log, const CProgressClient& rProgress, const Records& rRecords, UINT32* pulFailed,
                     const TextOf& textOf, const Check& check, const Tell& tell)
{
    return log.Run([&] {
        *pulFailed = 0;
        WalkRecords(rProgress, rRecords, pulFailed, textOf, check, tell);
        rProgress.Update(static_cast<UINT32>(rRecords.size()), L"");
    });
}
