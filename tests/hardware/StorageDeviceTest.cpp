#include <gmock/gmock.h>

#include <cstring>
#include <deque>

#include "hardware/OpdStorageDevice.h"
#include "support/FakePcIo.h"
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
    const struct
    {
        std::vector<CAnswer> Answers;
        HRESULT hr;
        std::string sTold;
    } aCases[] = {
        { { { 0, { 36, 40, 48, 0 }, 36, "VEN\0PRO    \0001.0\0" } }, S_OK, "VEN|PRO    |1.0||7r" },
        { { { 0, { 0, 0xFFFFFFFF, 4096, 4095 }, 4090, "ABCDEF" } }, S_OK, "|||F|7r" },
        { { { Small, {}, 0, "" }, { 0, { 40000, 40959, 40960, 0 }, 40000, "far" } }, S_OK, "far||||7r" },
        { { { Small, {}, 0, "" }, { More, { 40, 0, 0, 0 }, 40, "part" } }, S_OK, "part||||7r" },
        { { { Small, {}, 0, "" }, { Small, {}, 0, "" } }, HRESULT_FROM_WIN32(Small), "||||0" },
        { { { ERROR_INVALID_FUNCTION, {}, 0, "" } }, HRESULT_FROM_WIN32(ERROR_INVALID_FUNCTION), "||||0" },
    };
    for (const auto& rCase : aCases)
    {
        CFakePcIo io;
        std::deque<CAnswer> Answers(rCase.Answers.begin(), rCase.Answers.end());
        std::vector<std::size_t> Sizes;
        io.Add(L"\\\\.\\D:", [&](CFakeRequest& rRequest) {
            EXPECT_EQ(rRequest.dwCode, 0x2D1400u);
            EXPECT_EQ(rRequest.In, std::vector<BYTE>(12));
            Sizes.push_back(rRequest.Out.size());
            const CAnswer answer = Answers.front();
            Answers.pop_front();
            const DWORD aHead[] = { 40,
                                    0xFFFFFFFF,
                                    0x00010000,
                                    answer.aOffsets[0],
                                    answer.aOffsets[1],
                                    answer.aOffsets[2],
                                    answer.aOffsets[3],
                                    7 };
            std::memcpy(rRequest.Out.data(), aHead, sizeof aHead);
            if (answer.dwTextAt == 36)
                std::memcpy(rRequest.Out.data() + 36, answer.pText, 16);
            else
                std::memcpy(rRequest.Out.data() + answer.dwTextAt, answer.pText,
                            answer.dwTextAt != 0 ? std::strlen(answer.pText) : 0);
            return answer.dwError;
        });
        CStorageDriveInfo info;
        EXPECT_EQ(COpdStorageDevice(COpdStorageDevice::StandardOpenDeviceFunction).GetDriveInfo(3, info), rCase.hr);
        EXPECT_EQ(Told(info), rCase.sTold);
        EXPECT_EQ(Sizes,
                  Sizes.size() == 1 ? std::vector<std::size_t>{ 4096 } : (std::vector<std::size_t>{ 4096, 40960 }));
        EXPECT_TRUE(Answers.empty());
        EXPECT_EQ(io.OpenHandles(), 0u);
        // Without access: a slot without a medium opens too.
        ASSERT_EQ(io.Openings.size(), 1u);
        EXPECT_EQ(io.Openings[0].dwAccess, 0u);
        EXPECT_EQ(io.Openings[0].dwShare, DWORD{ FILE_SHARE_READ | FILE_SHARE_WRITE });
    }
}

} // namespace
