// The walk over the device interfaces of a class that the USB operations share.
#pragma once

#include "hardware/OpdSetupDi.h"
#include "platform/HResult.h"

// Hands the interfaces of a set to visit, with their index, until that gives true. Reaching the end of the list counts
// as a failure, as in a search that finds nothing: it is recorded with failed and thrown. Another failure is recorded
// the same way and passed over, unless so many follow each other that it cannot be a list.
template <typename Visit>
void WalkInterfaces(const CFunctionLog& log, HDEVINFO hSet, const GUID& rGuid, CFormat<DWORD, HRESULT> failed,
                    const Visit& visit)
{
    constexpr DWORD nMaxFailures = 256;
    for (DWORD nIndex = 0, nFailures = 0;; ++nIndex)
    {
        SP_DEVICE_INTERFACE_DATA Interface;
        const HRESULT hr = COpdSetupDi::GetDeviceInterfaceData(hSet, rGuid, nIndex, Interface);
        if (hr == HResultFromWin32(ERROR_NO_MORE_ITEMS) || (FAILED(hr) && ++nFailures == nMaxFailures))
            log.FailCode(hr, failed, nIndex);
        if (FAILED(hr))
        {
            log.Assert(failed, nIndex, hr);
            continue;
        }
        nFailures = 0;
        if (visit(nIndex, Interface))
            return;
    }
}
