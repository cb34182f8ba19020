// What a command tells of itself in the trace.
#pragma once

#include <string>

#include "log/FunctionLog.h"
#include "sptioctl/WireRecord.h"

namespace sptioctl
{

// What was sent, for the lines.
struct CSent
{
    const CCommand& rCommand;
    const std::wstring& sDevicePath;
    DWORD dwTimeOut;
};

// The group of lines of one request, where the filter lets the class pass at the level of the wire.
void TraceRequest(const CFunctionLog& log, const CSent& rSent, const CWireRecord& rRecord, bool bSucceeded,
                  DWORD dwError, DWORD dwReturned);

} // namespace sptioctl
