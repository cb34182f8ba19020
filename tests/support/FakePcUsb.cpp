#include "support/FakePcUsb.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "platform/WideText.h"

namespace
{

constexpr GUID HostController{ 0x3abf6f2d, 0x71c4, 0x462a, { 0x8a, 0x92, 0x1e, 0x68, 0x61, 0xe6, 0xaf, 0x27 } };
constexpr GUID Disk{ 0x53f56307, 0xb6bf, 0x11d0, { 0x94, 0xf2, 0x00, 0xa0, 0xc9, 0x1e, 0xfb, 0x8b } };

template <typename Number>
Number NumberOf(const std::string& sText, int nBase = 10)
{
    return static_cast<Number>(std::stoul(sText, nullptr, nBase));
}

std::string HexBytes(const std::string& sText)
{
    std::istringstream Text(sText);
    std::string sBytes, sByte;
    while (Text >> sByte)
        sBytes += NumberOf<char>(sByte, 16);
    return sBytes;
}

// A little-endian number of so many bytes.
std::string Le(std::size_t nBytes, DWORD dwValue)
{
    return { reinterpret_cast<const char*>(&dwValue), nBytes };
}

// What the description says of a device; empty, and nought, when it says nothing.
std::string FieldOf(const CFakeFields& rFields, const char* pName)
{
    return rFields.contains(pName) ? rFields.at(pName) : "";
}
DWORD NumberOf(const CFakeFields& rFields, const char* pName, int nBase = 10)
{
    return rFields.contains(pName) ? NumberOf<DWORD>(rFields.at(pName), nBase) : 0;
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

std::string Descriptor(BYTE nType, const std::string& sBody)
{
    return Le(1, sBody.size() + 2) + Le(1, nType) + sBody;
}

CFakeNode Node(const CFakeFields& rFields)
{
    const auto Text = [&](const char* pName) { return FakeText(ToWide(FieldOf(rFields, pName))); };
    return { .sId = ToWide(FieldOf(rFields, "id")),
             .Properties = { { CM_DRP_DRIVER, Text("key") }, { CM_DRP_DEVICEDESC, Text("desc") } } };
}

} // namespace

CFakePcUsb::CFakePcUsb(const std::wstring& sPath, CFakePcDevices& rDevices, CFakePcIo& rIo)
{
    std::ifstream File(std::filesystem::path{ sPath });
    std::string sLine;
    while (std::getline(File, sLine))
    {
        std::istringstream Line(sLine);
        std::vector<std::string> Words;
        for (std::string sWord; Line >> sWord;)
            Words.push_back(sWord);
        if (!Words.empty() && Words[0] != "#")
            Put(Words,
                Words.size() > 1 ? sLine.substr(sLine.find(Words[1], sLine.find(Words[0]) + Words[0].size())) : "");
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
void CFakePcUsb::Put(const std::vector<std::string>& Words, const std::string& sRest)
{
    const std::string sKey = Words[0];
    CFakeUsbPort* const pPort = !Hubs.empty() && !Hubs.back().Ports.empty() ? &Hubs.back().Ports.back() : nullptr;
    if (sKey == "hub")
        Hubs.emplace_back().sName = sRest;
    else if (sKey == "port")
        Hubs.back().Ports.emplace_back();
    else if (sKey == "status")
        pPort->dwStatus = NumberOf<DWORD>(sRest);
    else if (sKey == "device")
        pPort->sDevice = HexBytes(sRest);
    else if (sKey == "config")
        pPort->sConfiguration += HexBytes(sRest);
    else if (sKey == "pipe")
        pPort->sPipes += HexBytes(sRest), ++pPort->dwOpenPipes;
    else if (sKey == "languages")
        std::ranges::transform(Words.begin() + 1, Words.end(), std::back_inserter(pPort->Languages),
                               [](auto& s) { return NumberOf<WORD>(s, 16); });
    else if (sKey == "string")
        pPort->Strings[{ NumberOf<BYTE>(Words[1]), NumberOf<WORD>(Words[2], 16) }] = ToWide(
            sRest.substr(sRest.find(Words[2]) + Words[2].size() + 1));
    else
        (pPort != nullptr ? pPort->Fields : Hubs.empty() ? m_Controller : Hubs.back().Fields)[sKey] = sRest;
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
        std::istringstream Words(rPort.Fields["disk"]); // number, letter, instance id
        std::string sNumber, sLetter, sId;
        if (!(Words >> sNumber >> sLetter >> sId))
            continue;
        const CFakeAnswer number = Tampered([dwNumber = NumberOf<DWORD>(sNumber)](CFakeRequest& rRequest) {
            return rRequest.dwCode == 0x2D1080 ? Answer(rRequest, Le(4, 7) + Le(4, dwNumber) + Le(4, 0))
                                               : ERROR_INVALID_FUNCTION;
        });
        const std::wstring sPath = L"\\\\?\\disk" + ToWide(sNumber);
        rDevices.Add(hDevice, { .sId = ToWide(sId), .Interfaces = { { Disk, sPath } } });
        rIo.Add(sPath, number);
        rIo.Add(L"\\\\.\\" + ToWide(sLetter) + L":", number);
    }
}

DWORD CFakePcUsb::AnswerHub(const CFakeUsbHub& rHub, CFakeRequest& rRequest) const
{
    if (rRequest.dwCode == 0x220408 && rRequest.In.size() == 76)
        return Answer(rRequest, Le(4, 0) + Le(2, 0x2909) + Le(1, rHub.Ports.size()) +
                                    Le(2, NumberOf(rHub.Fields, "characteristics", 16)) + std::string(66, '\0') +
                                    Le(1, NumberOf(rHub.Fields, "buspowered")));
    const DWORD dwPort = rRequest.In.size() >= 4 ? *reinterpret_cast<const DWORD*>(rRequest.In.data()) : 0;
    if (dwPort - 1 >= rHub.Ports.size())
        return ERROR_INVALID_PARAMETER;
    const CFakeUsbPort& rPort = rHub.Ports[dwPort - 1];
    const std::string sKey = FieldOf(rPort.Fields, "key"), sExternal = FieldOf(rPort.Fields, "external");
    const std::string sPort(rRequest.In.begin(), rRequest.In.begin() + 4);
    const bool bOld = rRequest.dwCode == 0x22040C;
    if (rRequest.dwCode == 0x220420 && !sKey.empty())
        return Answer(rRequest, NameRecord(sPort, sKey));
    if (rRequest.dwCode == 0x220414 && !sExternal.empty())
        return Answer(rRequest, NameRecord(sPort, sExternal));
    if ((rRequest.dwCode == 0x220448 && !bOldSystem) || bOld)
    {
        std::string sDevice = rPort.sDevice;
        sDevice.resize(18);
        const DWORD dwSpeed = NumberOf(rPort.Fields, "speed");
        return Answer(rRequest, sPort + sDevice + Le(1, rPort.dwStatus == 1) + Le(1, bOld ? dwSpeed == 0 : dwSpeed) +
                                    Le(1, !sExternal.empty()) + Le(2, NumberOf(rPort.Fields, "address")) +
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
        return Answer(rRequest, sHead + Descriptor(3, WideBytes({ rPort.Languages.begin(), rPort.Languages.end() })));
    const auto it = rPort.Strings.find({ nIndex, Word(8) });
    if (rRequest.In[7] == 3 && it != rPort.Strings.end())
        return Answer(rRequest, sHead + Descriptor(3, WideBytes(it->second)));
    return ERROR_GEN_FAILURE;
}
