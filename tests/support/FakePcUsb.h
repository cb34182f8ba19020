// The USB side of a described PC: controllers, hubs and the devices on their ports, and the disks in them. The
// description is a text file; a test may change what it says before or between requests.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/FakeDrive.h"
#include "support/FakePcDevices.h"

using CFakeFields = std::map<std::string, std::string>;

// A logical unit of a storage device.
struct CFakeUsbDisk
{
    DWORD dwNumber;
    std::wstring sId;
    CFakeDrive Drive = {};
};

// A port with what is plugged into it; status 0: nothing.
struct CFakeUsbPort
{
    CFakeFields Fields; // what the file has and no member below
    DWORD dwStatus = 0;
    DWORD dwOpenPipes = 0;
    std::string sDevice, sConfiguration, sPipes;
    std::wstring sDrives;   // their letters
    std::wstring Languages; // their ids
    std::map<std::pair<BYTE, WORD>, std::wstring> Strings;
};

struct CFakeUsbHub
{
    std::string sName;
    CFakeFields Fields; // as for a port
    std::vector<CFakeUsbPort> Ports;
};

class CFakePcUsb
{
public:
    // Reads the description and puts its devices on the PC. Both must outlive this.
    CFakePcUsb(const std::wstring& sPath, CFakePcDevices& rDevices, CFakePcIo& rIo);
    CFakePcUsb(const CFakePcUsb&) = delete;
    CFakePcUsb& operator=(const CFakePcUsb&) = delete;

    // A drive's disk number, and its answers to SCSI commands; "not ready" for letters that nothing here has.
    DWORD AnswerDrive(wchar_t cLetter, CFakeRequest& rRequest);

    std::vector<CFakeUsbHub> Hubs; // the root hub first
    std::map<wchar_t, CFakeUsbDisk> Disks;
    bool bOldSystem = false; // without the newer request for a port
    // May change the answer to a request: its bytes, its size and its error.
    std::function<void(CFakeRequest&, DWORD& rdwError)> Tamper;

private:
    void Put(const std::string& sKey, std::istream& rLine);
    void AddHub(CFakePcDevices& rDevices, CFakePcIo& rIo, std::size_t nHub, DEVINST hHub);
    CFakeAnswer Tampered(std::function<DWORD(CFakeRequest&)> answer);
    DWORD AnswerHub(CFakeUsbHub& rHub, CFakeRequest& rRequest) const;

    CFakeFields m_Controller;
};
