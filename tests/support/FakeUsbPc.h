// The PC of tests/data/hardware/UsbPc.txt. Whatever was opened on it must be closed at its end.
#pragma once

#include <gtest/gtest.h>

#include "support/FakePcUsb.h"

struct CFakeUsbPc
{
    ~CFakeUsbPc()
    {
        EXPECT_EQ(io.OpenHandles(), 0u);
        EXPECT_EQ(devices.OpenSets(), 0u);
    }

    CFakePcDevices devices;
    CFakePcIo io;
    CFakePcUsb usb{ TEST_DATA L"\\hardware\\UsbPc.txt", devices, io };
};
