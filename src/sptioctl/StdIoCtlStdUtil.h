// Makes pass-through objects.
#pragma once

#include "sptioctl/SptIoCtlInterface.h"

namespace sptioctl
{

class CSptIoCtlStdUtil
{
public:
    // A new object without a reference, which the caller's smart pointer takes; null on failure. While the log filter
    // lets "CSptIoCtlDebug" pass, it is one that records its commands.
    static ISptIoCtl* CreateSptIoCtl();
};

} // namespace sptioctl
