// The PC of tests/data/hardware/UsbPc.txt. Whatever was opened on it must be closed at its end.
#pragma once

#include <gtest/gtest.h>

#include <sstream>

#include "support/FakePcDevices.h"
#include "support/FakePcIo.h"

// Bytes as a description has them.
inline std::string Bytes(const std::string& sText)
{
    std::istringstream Text(sText);
    return DescribedBytes(Text);
}

struct CFakeUsbPc
{
    CFakeUsbPc() { Describe(TEST_DATA L"\\hardware\\UsbPc.txt"); }
    ~CFakeUsbPc()
    {
        EXPECT_EQ(io.OpenHandles(), 0u);
        EXPECT_EQ(devices.OpenSets(), 0u);
    }
    void Describe(const std::wstring& sPath)
    {
        devices.Describe(sPath);
        io.Describe(sPath);
    }

    static constexpr wchar_t RootHub[] = L"\\\\.\\USB#ROOT_HUB30#4&1A2B3C4D&0&0#{f18a0e88-c30c-11d0-8815-00a0c906bed8}";
    CFakePcDevices devices;
    CFakePcIo io;
    CFakeAnswers& root = io.Answers[RootHub];
};
