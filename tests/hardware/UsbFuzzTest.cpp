// Devices that answer what they like: no access beyond a block, no endless loop, nothing left open. Whole walks are
// part of the report's test.
#include <gtest/gtest.h>

#include <wrl/client.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "hardware/OpdStorageDevice.h"
#include "hardware/OpdUsbDeviceInfo.h"
#include "hardware/UsbTreeWriter.h"
#include "sptioctl/StdIoCtlStdUtil.h"
#include "support/FakeUsbPc.h"
#include "support/FuzzRounds.h"

using sptioctl::ISptIoCtl;

namespace
{

constexpr auto OpenDevice = COpdUsbDeviceInfo::StandardOpenDeviceFunction;

// A SCSI command with data, in both forms and both directions.
void SendAnything(ISptIoCtl& rIo, std::mt19937& rRandom)
{
    std::vector<BYTE> Cdb(1 + rRandom() % 16), Data(rRandom() % 700, 'x');
    const std::size_t nKind = rRandom() % 4;
    const auto pSend = std::array{ &ISptIoCtl::SendInDataCmd, &ISptIoCtl::SendInDataCmdDirect,
                                   &ISptIoCtl::SendOutDataCmd, &ISptIoCtl::SendOutDataCmdDirect }[nKind];
    BYTE nKey = 0, nASC = 0, nASCQ = 0;
    DWORD dwTransferred = 0;
    const HRESULT hr = (rIo.*pSend)(static_cast<BYTE>(Cdb.size()), Cdb.data(), Data.size(), Data.data(), &dwTransferred,
                                    &nKey, &nASC, &nASCQ);
    EXPECT_TRUE(hr == S_OK || dwTransferred == 0);
    EXPECT_LE(nKey, 0x0F);
    const std::size_t nRead = std::min<std::size_t>(dwTransferred, Data.size());
    const bool bCleared = std::ranges::all_of(std::span(Data).subspan(nRead), [](BYTE n) { return n == 0; });
    EXPECT_TRUE(bCleared || hr != S_OK || nKind != 0);
}

// A round is one question to a device, and all that is made of the answer.
TEST(UsbFuzz, RequestsStandHostileAnswers)
{
    CFakeUsbPc pc;
    CFuzz fuzz(6, pc.io);
    CFileHandle hController, hHub, hDisk;
    ASSERT_EQ(OpenDevice(pc.devices.Find(2)->Interfaces[0].sPath, hController.Put()), S_OK);
    ASSERT_EQ(OpenDevice(pc.RootHub, hHub.Put()), S_OK);
    ASSERT_EQ(OpenDevice(L"\\\\.\\E:", hDisk.Put()), S_OK);
    const Microsoft::WRL::ComPtr<ISptIoCtl> pIo = sptioctl::CSptIoCtlStdUtil::CreateSptIoCtl();
    ASSERT_EQ(pIo->Open(4), S_OK);

    COpdLogFile nowhere;
    ASSERT_EQ(nowhere.Open(L"NUL"), S_OK);
    CUsbTreeWriter writer(nowhere, false, 1);
    const std::vector<BYTE> Guarded(14);
    ASSERT_TRUE(::IsBadReadPtr(Guarded.data() + Guarded.size(), 1)) << "no guard page";

    USB_DEVICE_DESCRIPTOR Device;
    std::memset(&Device, 1, sizeof Device);
    const CFunctionLog log;
    DWORD dwPort = 0, dwNumber = 0;
    std::wstring sName;
    USB_NODE_INFORMATION Info;
    std::unique_ptr<CUsbConnection> pConnection;
    std::vector<BYTE> Configuration;
    COpdUsbApi::CStringList strings;
    CStorageDriveInfo info;
    const std::function<void()> aRequests[] = {
        [&] {
            // The parsers, on a block that ends where its guard page begins.
            const std::vector<BYTE> Block = fuzz.Garbage(fuzz.Random() % 300);
            WalkUsbDescriptors(Block, [](CUsbBytes Record) { return UsbHidEntries(Record).size() <= Record.size(); });
            EXPECT_LE(UsbHidEntries(Block).size() + UsbLanguages(Block).size() + UsbStringText(Block).size(), 400u);
        },
        [&] { COpdUsbApi::GetHcdDriverKeyName(hController.Get(), sName); },
        [&] { COpdUsbApi::GetRootHubName(hController.Get(), sName); },
        [&] { COpdUsbApi::GetDriverKeyName(hHub.Get(), dwPort, sName); },
        [&] { COpdUsbApi::GetExternalHubName(hHub.Get(), dwPort, sName); },
        [&] { COpdUsbApi::GetUsbNodeInformation(hHub.Get(), Info); },
        [&] { COpdUsbApi::GetStorageDeviceNumber(hDisk.Get(), dwNumber); },
        [&] {
            if (COpdUsbApi::GetUsbNodeConnectionInformation(hHub.Get(), dwPort, pConnection) == S_OK)
                writer.WritePort({ dwPort, L"", L"", *pConnection, {} });
        },
        [&] {
            strings.clear();
            COpdUsbApi::GetConfigDescriptor(hHub.Get(), dwPort, 0, Configuration);
            COpdUsbApi::GetAllStringDescriptors(hHub.Get(), dwPort, Device, Configuration, strings);
            writer.WriteConfiguration(log, Configuration, strings);
        },
        [&] { COpdStorageDevice(OpenDevice).GetDriveInfo(L"\\\\.\\E:", info); },
        [&] { SendAnything(*pIo.Get(), fuzz.Random); },
        [&] { SendAnything(*pIo.Get(), fuzz.Random); },
    };
    constexpr std::size_t nKinds = std::size(aRequests);
    for (unsigned nRound = 0, nRounds = FuzzRounds(100000); nRound < nRounds; ++nRound)
    {
        fuzz.NextRound();
        dwPort = 1 + nRound / nKinds % 6;
        aRequests[nRound % nKinds]();
    }
}

} // namespace
