// What the devices of a described PC answer when they are opened and asked. The description is a text file, as
// tests/data/hardware/UsbPc.txt tells; a test may change what it says before or between requests.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "support/FakePcDevices.h"
#include "support/FakePcIo.h"

class CFakePcUsb
{
public:
    // Reads the description and puts its nodes and devices on the PC. Both must outlive this.
    CFakePcUsb(const std::wstring& sPath, CFakePcDevices& rDevices, CFakePcIo& rIo);
    CFakePcUsb(const CFakePcUsb&) = delete;
    CFakePcUsb& operator=(const CFakePcUsb&) = delete;
    // Puts devices and answers of another description in front of those.
    void AddAnswers(const std::wstring& sPath);

    // By device path and question, as the description has it. What nobody has an answer for is not ready.
    using CAnswers = std::map<std::string, std::string>;
    std::map<std::wstring, CAnswers> Devices;
    // May change the answer to a request: its bytes, its size and its error.
    std::function<void(CFakeRequest&, DWORD& rdwError)> Tamper;

private:
    CFakePcIo& m_rIo;
};
