#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "hardware/OpdCmApi.h"
#include "hardware/OpdHardwareList.h"
#include "hardware/OpdHardwareTree.h"
#include "hardware/OpdSetupDi.h"
#include "hardware/OpdStorageDevice.h"
#include "platform/Format.h"
#include "support/FakePcDevices.h"
#include "support/FakePcIo.h"
#include "support/Golden.h"
#include "support/LogWatch.h"

namespace
{

using namespace std::string_literals;

constexpr GUID Disk{ 0x53f56307, 0xb6bf, 0x11d0, { 0x94, 0xf2, 0x00, 0xa0, 0xc9, 0x1e, 0xfb, 0x8b } };

// What a call answered, and what it told.
void Put(std::vector<std::string>& rLog, const std::wstring& sAnswer, const CLogWatch& rWatch)
{
    rLog.push_back(Utf8(sAnswer));
    std::ranges::copy(rWatch.Records(), std::back_inserter(rLog));
}

// The walks from a class and from a drive tell devices from each other by these answers, and support searches the log
// for these texts: code, answer and records of each call, one after the other. S_FALSE comes from the steps between.
TEST(DeviceApi, AnswersAndTellsWhatItCouldNotAnswer)
{
    CFakePcDevices pc;
    CDeviceInfoSet hSet;
    SP_DEVINFO_DATA device{ sizeof device, {}, 0, 0 };
    SP_DEVICE_INTERFACE_DATA item{};
    CDeviceProperty property;
    std::wstring s;
    const auto hClosed = reinterpret_cast<HDEVINFO>(0x15);
    const CTestFolder folder;
    using Cm = COpdCmApi;
    using Di = COpdSetupDi;
    const auto Change = []<typename T>(T& rValue, const std::type_identity_t<T>& value) {
        return rValue = value, S_FALSE;
    };
    const std::function<HRESULT()> aCalls[] = {
        // Without a root, then with the sample's nodes.
        [&] { return Cm::GetDeviceDescByDriverKeyName(L"{odd}\\0001", s); },
        [&] { return COpdHardwareTree().DumpDeviceTree(folder / L"none", true); },
        [&] { return pc.Describe(TEST_DATA L"\\hardware\\SamplePc.txt"), S_FALSE; },
        [&] { return Cm::GetDeviceId(9, s); },
        [&] { return Cm::GetDevNodeDriverName(5, s); },
        [&] { return Cm::GetDevNodeDriverName(6, s); },
        [&] { return Cm::GetDevNodeDeviceDesc(4, s); },
        [&] { return Cm::GetDevNodeRegistryProperty(1, CM_DRP_DEVICEDESC, property); },
        [&] { return Cm::GetDevNodeRegistryProperty(3, CM_DRP_SECURITY, property); },
        [&] { return Cm::GetDevNodeRegistryProperty(6, CM_DRP_CHARACTERISTICS, property); },
        [&] { return Cm::GetDeviceDescByDriverKeyName(L"{4D36E96A}\\0001", s); },
        [&] { return Cm::GetDeviceDescByDriverKeyName(L"{odd}\\0001", s); },
        [&] { return Cm::GetDeviceDescByDriverKeyName(L"{odd}\\0009", s); },
        // From a class to a path.
        [&] { return Di::GetClassDevices(Disk, hSet); },
        [&] { return Di::GetDeviceInterfaceData(hSet.Get(), Disk, 1, item); },
        [&] { return Di::GetDeviceInterfaceData(hSet.Get(), Disk, 0, item); },
        [&] { return Di::GetDeviceInterfaceDetail(hSet.Get(), item, device, s); },
        [&] { return Di::GetDeviceInterfaceDetail(hClosed, item, s); },
        [&] { return Change(pc.Find(3)->Interfaces[0].sPath, L"x"); },
        [&] { return Di::GetDeviceInterfaceDetail(hSet.Get(), item, s); },
        // From the device that the second of these calls told.
        [&] { return Di::GetDeviceInstanceId(hClosed, device, s); },
        [&] { return Di::GetDeviceRegistryProperty(hSet.Get(), device, SPDRP_DRIVER, property); },
        [&] { return Di::GetDeviceRegistryProperty(hSet.Get(), device, SPDRP_SECURITY, property); },
        [&] { return Change(pc.Find(3)->sId, std::wstring(200, L'x')); },
        [&] { return Cm::GetDeviceId(3, s); },
        [&] { return Di::GetDeviceInstanceId(hSet.Get(), device, s); },
        [&] { return Change(pc.Find(3)->sId, std::wstring(201, L'x')); },
        [&] { return Cm::GetDeviceId(3, s); },
        [&] { return Di::GetDeviceInstanceId(hSet.Get(), device, s); },
        // Sets that there are not.
        [&] { return Di::GetDevInfoData(hClosed, 7, device); },
        [&] { return Change(pc.dwSetError, ERROR_ACCESS_DENIED); },
        [&] { return Di::GetClassDevices(Disk, hSet); },
        [&] { return Di::GetClassDevices(L"ROOT", hSet); },
        // Files that cannot be opened.
        [&] { return COpdHardwareList().DumpCurrentDeviceList(L""); },
        [&] { return COpdHardwareTree().DumpDeviceTree(L"", true); },
    };
    std::vector<std::string> Log;
    for (const auto& rCall : aCalls)
    {
        const CLogWatch watch;
        s.clear();
        const HRESULT hr = rCall();
        if (hr != S_FALSE)
            Put(Log, FormatText(L"%08X %s", hr, s), watch);
    }
    ExpectGolden(L"hardware\\DeviceApi.log", Joined(Log), L"");
    EXPECT_EQ(pc.OpenSets(), 0u);
}

// A hostile offset must not be followed out of the block, nor an unterminated text; a large descriptor takes the second
// query; part of one is better than none.
TEST(StorageDevice, ReadsADescriptorThatItDoesNotTrust)
{
    // The answers to the queries: error, offsets of vendor, product, revision and serial, place of the texts, texts.
    using CAnswer = std::tuple<DWORD, std::array<DWORD, 4>, std::size_t, std::string>;
    const DWORD Small = ERROR_INSUFFICIENT_BUFFER, More = ERROR_MORE_DATA;
    const std::vector<CAnswer> aCases[] = {
        { { 0, { 36, 40, 48, 0 }, 36, "VEN\0PRO    \0001.0\0"s } },
        { { 0, { 0, 0xFFFFFFFF, 4096, 4095 }, 4090, "ABCDEF" } },
        { { Small, {}, 0, "" }, { 0, { 40000, 40959, 40960, 0 }, 40000, "far" } },
        { { Small, {}, 0, "" }, { More, { 40, 0, 0, 0 }, 40, "part" } },
        { { More, { 40, 0, 0, 0 }, 40, "part" } },
        { { Small, {}, 0, "" }, { Small, {}, 0, "" } },
        { { ERROR_INVALID_FUNCTION, {}, 0, "" } },
        {}, // no such drive
    };
    std::vector<std::string> Log;
    for (const std::vector<CAnswer>& rAnswers : aCases)
    {
        CFakePcIo io;
        std::size_t nQuery = 0;
        const auto Answer = [&](CFakeRequest& rRequest) {
            EXPECT_TRUE(rRequest.dwCode == 0x2D1400 && rRequest.In == std::vector<BYTE>(12));
            EXPECT_EQ(rRequest.Out.size(), nQuery == 0 ? 4096u : 40960u);
            const auto& [dwError, Offsets, nTextsAt, sTexts] = rAnswers.at(nQuery++);
            DWORD aHead[8] = { 40, 0xFFFFFFFF, 0x00010000, 0, 0, 0, 0, 7 };
            std::ranges::copy(Offsets, aHead + 3);
            std::memcpy(rRequest.Out.data(), aHead, sizeof aHead);
            std::ranges::copy(sTexts, rRequest.Out.data() + nTextsAt);
            return dwError;
        };
        io.Add(L"\\\\.\\D:", rAnswers.empty() ? CFakeAnswer() : Answer);
        const CLogWatch watch;
        CStorageDriveInfo info;
        const HRESULT hr = COpdStorageDevice(COpdStorageDevice::StandardOpenDeviceFunction).GetDriveInfo(3, info);
        Put(Log,
            FormatText(L"%08X %s|%s|%s|%s|%d%s", hr, info.sVendorId, info.sProductId, info.sRevision,
                       info.sSerialNumber, info.dwBusType, info.bRemovable ? L"r" : L""),
            watch);
        EXPECT_EQ(nQuery, rAnswers.size());
        EXPECT_EQ(io.OpenHandles(), 0u);
        EXPECT_EQ(io.LastOpening.dwAccess, 0u); // a slot without a medium opens too
    }
    ExpectGolden(L"hardware\\StorageDevice.log", Joined(Log), L"");
}

} // namespace
