#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <deque>

#include "hardware/OpdStorageDevice.h"
#include "support/FakePcIo.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

// A drive that answers each query with the next of these: an error, and a descriptor with texts at their offsets.
struct CAnswer
{
    DWORD dwError;
    DWORD aOffsets[4]; // vendor, product, revision, serial
    DWORD dwTextAt;
    const char* pText;
};

std::string Told(const CStorageDriveInfo& rInfo)
{
    return Utf8(rInfo.sVendorId + L'|' + rInfo.sProductId + L'|' + rInfo.sRevision + L'|' + rInfo.sSerialNumber) + '|' +
           std::to_string(rInfo.dwBusType) + (rInfo.bRemovable ? "r" : "");
}

// A hostile offset must not be followed out of the block, nor an unterminated text; a large descriptor takes the second
// query; part of one is better than none.
TEST(StorageDevice, ReadsADescriptorThatItDoesNotTrust)
{
    const DWORD Small = ERROR_INSUFFICIENT_BUFFER, More = ERROR_MORE_DATA;
    const std::string Failed = "[COpdStorageDevice::GetDriveInfo] ::DeviceIoControl( IOCTL_STORAGE_QUERY_PROPERTY, \"\\\\.\\D:\" ) failed. [0x800700";
    const std::string Outer = "[COpdStorageDevice::GetDriveInfo] COpdStorageDevice::GetDriveInfo( \"\\\\.\\D:\" ) failed. [0x800700";
    const struct
    {
        std::vector<CAnswer> Answers;
        HRESULT hr;
        std::string sTold;
        std::vector<std::string> Records;
    } aCases[] = {
        { { { 0, { 36, 40, 48, 0 }, 36, "VEN\0PRO    \0001.0\0" } }, S_OK, "VEN|PRO    |1.0||7r", {} },
        { { { 0, { 0, 0xFFFFFFFF, 4096, 4095 }, 4090, "ABCDEF" } }, S_OK, "|||F|7r", {} },
        { { { Small, {}, 0, "" }, { 0, { 40000, 40959, 40960, 0 }, 40000, "far" } }, S_OK, "far||||7r", { Failed + "7A]" } },
        { { { Small, {}, 0, "" }, { More, { 40, 0, 0, 0 }, 40, "part" } }, S_OK, "part||||7r", { Failed + "7A]", Failed + "EA]" } },
        { { { More, { 40, 0, 0, 0 }, 40, "part" } }, S_OK, "part||||7r", { Failed + "EA]" } },
        { { { Small, {}, 0, "" }, { Small, {}, 0, "" } }, HRESULT_FROM_WIN32(Small), "||||0", { Failed + "7A]", Failed + "7A]", Outer + "7A]" } },
        { { { ERROR_INVALID_FUNCTION, {}, 0, "" } }, HRESULT_FROM_WIN32(ERROR_INVALID_FUNCTION), "||||0", { Failed + "01]", Outer + "01]" } },
    };
    for (const auto& rCase : aCases)
    {
        CFakePcIo io;
        std::deque<CAnswer> Answers(rCase.Answers.begin(), rCase.Answers.end());
        std::vector<std::size_t> Sizes;
        io.Add(L"\\\\.\\D:", [&](CFakeRequest& rRequest) {
            EXPECT_EQ(rRequest.dwCode, 0x2D1400u);
            EXPECT_EQ(rRequest.In, std::vector<BYTE>(12));
            EXPECT_TRUE(std::ranges::all_of(rRequest.Out, [](BYTE n) { return n == 0; }));
            Sizes.push_back(rRequest.Out.size());
            const CAnswer answer = Answers.front();
            Answers.pop_front();
            const DWORD aHead[] = { 40, 0xFFFFFFFF, 0x00010000, answer.aOffsets[0], answer.aOffsets[1], answer.aOffsets[2], answer.aOffsets[3], 7 };
            std::memcpy(rRequest.Out.data(), aHead, sizeof aHead);
            if (answer.dwTextAt == 36)
                std::memcpy(rRequest.Out.data() + 36, answer.pText, 16);
            else
                std::memcpy(rRequest.Out.data() + answer.dwTextAt, answer.pText, answer.dwTextAt != 0 ? std::strlen(answer.pText) : 0);
            return answer.dwError;
        });
        const CLogWatch watch;
        CStorageDriveInfo info;
        EXPECT_EQ(COpdStorageDevice(COpdStorageDevice::StandardOpenDeviceFunction).GetDriveInfo(3, info), rCase.hr);
        EXPECT_EQ(Told(info), rCase.sTold);
        EXPECT_EQ(watch.Records(), rCase.Records);
        EXPECT_EQ(Sizes, Sizes.size() == 1 ? std::vector<std::size_t>{ 4096 } : (std::vector<std::size_t>{ 4096, 40960 }));
        EXPECT_TRUE(Answers.empty());
        EXPECT_EQ(io.OpenHandles(), 0u);
        // Without access: a slot without a medium opens too.
        ASSERT_EQ(io.Openings.size(), 1u);
        EXPECT_EQ(io.Openings[0].dwAccess, 0u);
        EXPECT_EQ(io.Openings[0].dwShare, DWORD{ FILE_SHARE_READ | FILE_SHARE_WRITE });
    }
}

// Each level names what it could not do: the support desk reads the chain.
TEST(StorageDevice, TellsWhyItCouldNotBeOpened)
{
    CFakePcIo io;
    const CLogWatch watch;
    CStorageDriveInfo info;
    EXPECT_EQ(COpdStorageDevice(COpdStorageDevice::StandardOpenDeviceFunction).GetDriveInfo(25, info), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(COpdStorageDevice::StandardOpenDeviceFunction(L"\\\\.\\Z:", nullptr), E_POINTER);
    const std::string Open = "[COpdStorageDevice::StandardOpenDeviceFunction] ", Get = "[COpdStorageDevice::GetDriveInfo] ";
    const std::string Failed = "( \"\\\\.\\Z:\" ) failed. [0x80070002]";
    EXPECT_THAT(watch.Records(), ::testing::ElementsAre(Open + "::CreateFile" + Failed, Get + "OpenDevice" + Failed,
                                                        Get + "COpdStorageDevice::GetDriveInfo" + Failed, Open + "pHandle == NULL"));
}

} // namespace
