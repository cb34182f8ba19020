#include "support/FakePcUsb.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "platform/Format.h"
#include "platform/WideText.h"

namespace
{

constexpr GUID HostController{ 0x3abf6f2d, 0x71c4, 0x462a, { 0x8a, 0x92, 0x1e, 0x68, 0x61, 0xe6, 0xaf, 0x27 } };
constexpr GUID Disk{ 0x53f56307, 0xb6bf, 0x11d0, { 0x94, 0xf2, 0x00, 0xa0, 0xc9, 0x1e, 0xfb, 0x8b } };

std::string RestOf(std::istream& rLine)
{
    std::string sRest;
    std::getline(rLine >> std::ws, sRest);
    return sRest;
}

std::string HexBytes(std::istream& rLine)
{
    std::string sBytes;
    for (unsigned nByte; rLine >> std::hex >> nByte;)
        sBytes += static_cast<char>(nByte);
    return sBytes;
}

// A little-endian number of so many bytes.
std::string Le(std::size_t nBytes, DWORD dwValue)
{
    return { reinterpret_cast<const char*>(&dwValue), nBytes };
}

// 0 for what the description does not say.
DWORD NumberOf(const std::string& sText, int nBase = 10)
{
    return std::strtoul(sText.c_str(), nullptr, nBase);
}

std::string WideBytes(const std::wstring& sText)
{
    return { reinterpret_cast<const char*>(sText.data()), sText.size() * sizeof(wchar_t) };
}

DWORD Answer(CFakeRequest& rRequest, const std::string& sBytes)
{
    rRequest.dwReturned = std::min(sBytes.size(), rRequest.Out.size());
    std::memcpy(rRequest.Out.data(), sBytes.data(), rRequest.dwReturned);
    return ERROR_SUCCESS;
}

// The platform's name record: its whole length, and as much of it as there is room for.
std::string NameRecord(const std::string& sHead, const std::string& sName)
{
    const std::string sText = WideBytes(ToWide(sName) + L'\0');
    return sHead + Le(4, sHead.size() + 4 + sText.size()) + sText;
}

std::string StringDescriptor(const std::wstring& sText)
{
    return Le(1, sText.size() * 2 + 2) + Le(1, 3) + WideBytes(sText);
}

CFakeNode Node(CFakeFields& rFields)
{
    return { .sId = ToWide(rFields["id"]),
             .Properties = { { CM_DRP_DRIVER, FakeText(ToWide(rFields["key"])) },
                             { CM_DRP_DEVICEDESC, FakeText(ToWide(rFields["desc"])) } } };
}

} // namespace

CFakePcUsb::CFakePcUsb(const std::wstring& sPath, CFakePcDevices& rDevices, CFakePcIo& rIo)
{
    std::ifstream File(std::filesystem::path{ sPath });
    for (std::string sLine, sKey; std::getline(File, sLine);)
    {
        std::istringstream Line(sLine);
        if (Line >> sKey && sKey != "#")
            Put(sKey, Line);
    }
    if (Hubs.empty())
        throw std::runtime_error("no USB devices are described");
    const std::wstring sController = ToWide(m_Controller["path"]);
    const DEVINST hRoot = rDevices.Add(0, { .sId = L"HTREE\\ROOT\\0" });
    CFakeNode controller = Node(m_Controller);
    controller.Interfaces = { { HostController, sController } };
    const DEVINST hController = rDevices.Add(hRoot, controller);
    rIo.Add(sController, Tampered([this](CFakeRequest& rRequest) {
                if (rRequest.dwCode == 0x220424)
                    return Answer(rRequest, NameRecord("", m_Controller["key"]));
                // With an input it would be a hub's information.
                return rRequest.dwCode == 0x220408 && rRequest.In.empty()
                           ? Answer(rRequest, NameRecord("", Hubs[0].sName))
                           : ERROR_INVALID_FUNCTION;
            }));
    AddHub(rDevices, rIo, 0, rDevices.Add(hController, Node(Hubs[0].Fields)));
}

// One line of the description: it belongs to the last port, else the last hub, else the controller.
void CFakePcUsb::Put(const std::string& sKey, std::istream& rLine)
{
    CFakeUsbPort* const pPort = !Hubs.empty() && !Hubs.back().Ports.empty() ? &Hubs.back().Ports.back() : nullptr;
    std::string sLetter;
    unsigned nNumber = 0, nOther = 0, nASC = 0, nSize = 0;
    if (sKey == "hub")
        Hubs.emplace_back().sName = RestOf(rLine);
    else if (sKey == "port")
        Hubs.back().Ports.emplace_back();
    else if (sKey == "status")
        rLine >> pPort->dwStatus;
    else if (sKey == "device")
        pPort->sDevice = HexBytes(rLine);
    else if (sKey == "config")
        pPort->sConfiguration += HexBytes(rLine);
    else if (sKey == "pipe")
        pPort->sPipes += HexBytes(rLine), ++pPort->dwOpenPipes;
    else if (sKey == "languages")
        while (rLine >> std::hex >> nNumber)
            pPort->Languages += static_cast<wchar_t>(nNumber);
    else if (sKey == "string" && rLine >> nNumber >> std::hex >> nOther)
        pPort->Strings[{ static_cast<BYTE>(nNumber), static_cast<WORD>(nOther) }] = ToWide(RestOf(rLine));
    else if (sKey == "disk" && rLine >> nNumber >> sLetter)
    {
        pPort->sDrives += ToWide(sLetter);
        Disks[pPort->sDrives.back()] = { nNumber, ToWide(RestOf(rLine)) };
    }
    else if (sKey == "inquiry" && rLine >> std::hex >> nNumber >> nOther >> nASC >> std::dec >> nSize)
        Disks[pPort->sDrives.back()].Drive = { .nStatus = static_cast<BYTE>(nNumber),
                                               .nSenseKey = static_cast<BYTE>(nOther),
                                               .nASC = static_cast<BYTE>(nASC),
                                               .dwTransferred = nSize,
                                               .sData = std::string(8, '\0') + RestOf(rLine) };
    else
        (pPort != nullptr ? pPort->Fields : Hubs.empty() ? m_Controller : Hubs.back().Fields)[sKey] = RestOf(rLine);
}

CFakeAnswer CFakePcUsb::Tampered(std::function<DWORD(CFakeRequest&)> answer)
{
    return [this, answer](CFakeRequest& rRequest) {
        DWORD dwError = answer(rRequest);
        if (Tamper)
            Tamper(rRequest, dwError);
        return dwError;
    };
}

void CFakePcUsb::AddHub(CFakePcDevices& rDevices, CFakePcIo& rIo, std::size_t nHub, DEVINST hHub)
{
    rIo.Add(L"\\\\.\\" + ToWide(Hubs[nHub].sName),
            Tampered([this, nHub](CFakeRequest& rRequest) { return AnswerHub(Hubs[nHub], rRequest); }));
    for (CFakeUsbPort& rPort : Hubs[nHub].Ports)
    {
        if (rPort.dwStatus == 0)
            continue;
        const DEVINST hDevice = rDevices.Add(hHub, Node(rPort.Fields));
        const auto itHub = std::ranges::find(Hubs, rPort.Fields["external"], &CFakeUsbHub::sName);
        if (itHub != Hubs.end())
            AddHub(rDevices, rIo, static_cast<std::size_t>(itHub - Hubs.begin()), hDevice);
        for (const wchar_t cLetter : rPort.sDrives)
        {
            const CFakeAnswer answer = Tampered(
                [this, cLetter](CFakeRequest& rRequest) { return AnswerDrive(cLetter, rRequest); });
            const CFakeUsbDisk& rDisk = Disks[cLetter];
            const std::wstring sPath = FormatText(L"\\\\?\\disk%u", rDisk.dwNumber);
            rDevices.Add(hDevice, { .sId = rDisk.sId, .Interfaces = { { Disk, sPath } } });
            rIo.Add(sPath, answer);
            rIo.Add(FormatText(L"\\\\.\\%c:", cLetter), answer);
        }
    }
}

DWORD CFakePcUsb::AnswerDrive(wchar_t cLetter, CFakeRequest& rRequest)
{
    const auto it = Disks.find(cLetter);
    if (it == Disks.end())
        return ERROR_NOT_READY;
    if (rRequest.dwCode == 0x2D1080)
        return Answer(rRequest, Le(4, 7) + Le(4, it->second.dwNumber) + Le(4, 0));
    const bool bScsi = rRequest.dwCode == 0x4D004 || rRequest.dwCode == 0x4D014;
    return bScsi ? it->second.Drive(rRequest) : ERROR_INVALID_FUNCTION;
}

DWORD CFakePcUsb::AnswerHub(CFakeUsbHub& rHub, CFakeRequest& rRequest) const
{
    if (rRequest.dwCode == 0x220408 && rRequest.In.size() == 76)
        return Answer(rRequest, Le(4, 0) + Le(2, 0x2909) + Le(1, rHub.Ports.size()) +
                                    Le(2, NumberOf(rHub.Fields["characteristics"], 16)) + std::string(66, '\0') +
                                    Le(1, NumberOf(rHub.Fields["buspowered"])));
    DWORD dwPort = 0;
    std::copy_n(rRequest.In.begin(), std::min(rRequest.In.size(), sizeof dwPort), reinterpret_cast<BYTE*>(&dwPort));
    if (dwPort - 1 >= rHub.Ports.size())
        return ERROR_INVALID_PARAMETER;
    CFakeUsbPort& rPort = rHub.Ports[dwPort - 1];
    const std::string sKey = rPort.Fields["key"], sExternal = rPort.Fields["external"];
    const std::string sPort = Le(4, dwPort);
    const bool bOld = rRequest.dwCode == 0x22040C;
    if (rRequest.dwCode == 0x220420 && !sKey.empty())
        return Answer(rRequest, NameRecord(sPort, sKey));
    if (rRequest.dwCode == 0x220414 && !sExternal.empty())
        return Answer(rRequest, NameRecord(sPort, sExternal));
    if ((rRequest.dwCode == 0x220448 && !bOldSystem) || bOld)
    {
        std::string sDevice = rPort.sDevice;
        sDevice.resize(18);
        const DWORD dwSpeed = NumberOf(rPort.Fields["speed"]);
        return Answer(rRequest, sPort + sDevice + Le(1, rPort.dwStatus == 1) + Le(1, bOld ? dwSpeed == 0 : dwSpeed) +
                                    Le(1, !sExternal.empty()) + Le(2, NumberOf(rPort.Fields["address"])) +
                                    Le(4, rPort.dwOpenPipes) + Le(4, rPort.dwStatus) + rPort.sPipes);
    }
    if (rRequest.dwCode != 0x220410 || rRequest.In.size() < 12)
        return ERROR_INVALID_FUNCTION;

    const auto Word = [&](std::size_t nAt) { return static_cast<WORD>(rRequest.In[nAt] | rRequest.In[nAt + 1] << 8); };
    const std::string sHead(rRequest.In.begin(), rRequest.In.begin() + 12);
    const BYTE nIndex = rRequest.In[6];
    if (rRequest.In[7] == 2 && !rPort.sConfiguration.empty())
        return Answer(rRequest, sHead + rPort.sConfiguration.substr(0, Word(10)));
    if (rRequest.In[7] == 3 && nIndex == 0 && !rPort.Languages.empty())
        return Answer(rRequest, sHead + StringDescriptor(rPort.Languages));
    const auto it = rPort.Strings.find({ nIndex, Word(8) });
    if (rRequest.In[7] == 3 && it != rPort.Strings.end())
        return Answer(rRequest, sHead + StringDescriptor(it->second));
    return ERROR_GEN_FAILURE;
}
