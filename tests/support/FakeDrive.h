// A drive that answers the two pass-through requests as the test says, and keeps what it was sent.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>

#include "support/FakePcIo.h"

struct CFakeDrive
{
    // The answer.
    DWORD dwError = ERROR_SUCCESS;
    BYTE nStatus = 0;
    BYTE nSenseKey = 0, nASC = 0, nASCQ = 0;
    DWORD dwTransferred = 0;
    std::string sData = {}; // into the data area, or the caller's buffer

    // What came.
    DWORD dwCode = 0;
    std::string sRecord = {};
    std::size_t nOut = 0;

    DWORD operator()(CFakeRequest& rRequest)
    {
        dwCode = rRequest.dwCode;
        sRecord.assign(rRequest.In.begin(), rRequest.In.end());
        nOut = rRequest.Out.size();
        if (dwError != ERROR_SUCCESS)
            return dwError;
        BYTE* const pOut = rRequest.Out.data();
        BYTE* pData = pOut + 66;
        if (dwCode == 0x4D014)
            std::memcpy(&pData, pOut + 20, sizeof pData);
        pOut[2] = nStatus;
        pOut[7] = 14;
        std::memcpy(pOut + 12, &dwTransferred, sizeof dwTransferred);
        pOut[50] = nSenseKey;
        pOut[60] = nASC;
        pOut[61] = nASCQ;
        std::copy(sData.begin(), sData.end(), pData);
        rRequest.dwReturned = 66;
        return ERROR_SUCCESS;
    }
};
