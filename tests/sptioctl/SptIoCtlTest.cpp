#include <gmock/gmock.h>

#include <wrl/client.h>

#include "hardware/ByteFigures.h"
#include "platform/Format.h"
#include "sptioctl/StdIoCtlStdUtil.h"
#include "support/FakeDrive.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

using namespace sptioctl;

namespace
{

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using CPointer = Microsoft::WRL::ComPtr<ISptIoCtl>;

const std::string Inquiry = "\x12\0\0\0\x24\0"s,
                  Read = "\x88\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F";

class CPassThrough : public ::testing::Test
{
protected:
    CPassThrough() : m_pIo(CSptIoCtlStdUtil::CreateSptIoCtl())
    {
        m_Io.Add(L"\\\\.\\E:", [this](CFakeRequest& rRequest) { return m_Drive(rRequest); });
        EXPECT_EQ(m_pIo->Open(4), S_OK);
    }
    ~CPassThrough() override
    {
        m_pIo.Reset();
        EXPECT_EQ(m_Io.OpenHandles(), 0u) << "an open object must close when it goes";
    }

    HRESULT Send(decltype(&ISptIoCtl::SendInDataCmd) pSend, const std::string& sCdb, DWORD dwSize, std::string& rsData)
    {
        return (m_pIo.Get()->*pSend)(static_cast<BYTE>(sCdb.size()), reinterpret_cast<const BYTE*>(sCdb.data()), dwSize,
                                     reinterpret_cast<BYTE*>(rsData.data()), &m_dwTransferred, &m_nKey, &m_nASC,
                                     &m_nASCQ);
    }

    CFakePcIo m_Io;
    CFakeDrive m_Drive;
    CPointer m_pIo;
    DWORD m_dwTransferred = 77;
    BYTE m_nKey = 0xEE, m_nASC = 0xEE, m_nASCQ = 0xEE;
};

// The driver reads these bytes: an offset or a length that is off by one reaches a real drive.
TEST_F(CPassThrough, SendsItsRecordByteForByte)
{
    const BYTE aReady[6]{};
    std::string sData(600, 'd');
    const std::function<HRESULT()> aSends[] = {
        [&] { return m_pIo->SendNoDataCmd(6, aReady, &m_nKey, &m_nASC, &m_nASCQ); },
        [&] { return Send(&ISptIoCtl::SendInDataCmdDirect, Inquiry, 36, sData); },
        [&] { return Send(&ISptIoCtl::SendInDataCmd, Read, 512, sData); },
        [&] { return Send(&ISptIoCtl::SendOutDataCmd, Read, 513, sData = std::string(600, 'd')); },
        [&] { return Send(&ISptIoCtl::SendOutDataCmdDirect, Inquiry, 513, sData); },
    };
    std::string sSent;
    for (const auto& send : aSends)
    {
        EXPECT_EQ(send(), S_OK);
        std::string& rsRecord = m_Drive.sRecord;
        sSent += Utf8(FormatText(L"%06X %u %u", m_Drive.dwCode, rsRecord.size(), m_Drive.nOut));
        const char* const pData = sData.data();
        if (std::memcmp(rsRecord.data() + 20, &pData, sizeof pData) == 0)
            rsRecord.replace(20, sizeof pData, "addr");
        for (std::size_t n = 0; n < 66; n += 22)
            sSent += '\n' + Utf8(HexText({ reinterpret_cast<const BYTE*>(rsRecord.data()) + n, 22 }));
        const std::string sArea = rsRecord.substr(66);
        sSent += '\n' + sArea.substr(0, sArea.find_last_not_of('\0') + 1) + '\n';
    }
    const std::string sGolden = ReadBytes(TEST_DATA L"\\ScsiRecords.txt");
    EXPECT_EQ(sSent, sGolden.substr(sGolden.find("04D004")));
    ASSERT_EQ(m_Io.Openings.size(), 1u);
    EXPECT_EQ(m_Io.Openings[0].dwAccess, GENERIC_READ | GENERIC_WRITE);
    EXPECT_EQ(m_Io.Openings[0].dwFlags, FILE_FLAG_WRITE_THROUGH);
}

// A sense key is no failure; key 0 with a bad status is. The two forms are silent about opposite halves of "not ready".
TEST_F(CPassThrough, JudgesByKeyAndStatus)
{
    const struct
    {
        BYTE nStatus, nKey, nASC, nASCQ;
        HRESULT hr;
        bool aTells[2]; // the buffered form, the direct one
    } aCases[] = {
        { 0x00, 0x00, 0x00, 0x00, S_OK, { false, false } }, { 0xFF, 0xF0, 0x3A, 0x00, E_UNEXPECTED, { true, true } },
        { 0x02, 0x02, 0x3A, 0x00, S_OK, { false, true } },  { 0x02, 0x02, 0x3A, 0x01, S_OK, { true, false } },
        { 0x00, 0xFF, 0xFF, 0xFF, S_OK, { true, true } },
    };
    for (const auto& [nStatus, nKey, nASC, nASCQ, hr, aTells] : aCases)
    {
        m_Drive = { 0, nStatus, nKey, nASC, nASCQ, 2, "ab" };
        for (const bool bDirect : { false, true })
        {
            std::string sData = "xxxx";
            m_dwTransferred = 77;
            const CLogWatch watch;
            EXPECT_EQ(Send(bDirect ? &ISptIoCtl::SendInDataCmdDirect : &ISptIoCtl::SendInDataCmd, Inquiry, 4, sData),
                      hr);
            EXPECT_THAT((std::array{ m_nKey, m_nASC, m_nASCQ }), ElementsAre(nKey & 0x0F, nASC, nASCQ));
            EXPECT_EQ(m_dwTransferred, SUCCEEDED(hr) ? 2u : 77u);
            // The tail of a short read is cleared by the buffered form; nothing is copied for a failed command.
            EXPECT_EQ(sData, bDirect ? "abxx" : SUCCEEDED(hr) ? "ab\0\0"s : "xxxx");
            const std::vector<std::string> Records = watch.Records();
            ASSERT_EQ(Records.size(), aTells[bDirect]);
            const std::wstring sTold = FormatText(
                L" CDB:6 OPCODE:0x12 / Status:%u Length:14 / SenseKey:0x%02X ASC:0x%02X ASCQ:0x%02X", nStatus, m_nKey,
                nASC, nASCQ);
            EXPECT_TRUE(Records.empty() || Records[0].ends_with(Utf8(sTold))) << Records[0];
        }
    }
    // More than there was room for is what the device says, not what is copied.
    m_Drive = { .dwTransferred = 0xFFFFFFFF, .sData = std::string(512, 'z') };
    std::string sData = "xxxx";
    EXPECT_EQ(Send(&ISptIoCtl::SendInDataCmd, Inquiry, 3, sData), S_OK);
    EXPECT_EQ(sData, "zzzx");
    EXPECT_EQ(m_dwTransferred, 0xFFFFFFFF);
}

// A request that fails leaves the sense alone, the drive open and the next command possible; a second open must not
// lose the first one's handle.
TEST_F(CPassThrough, StaysOpenBehindAFailure)
{
    COpdSafeTypeValueT<unsigned> timeOut(7);
    EXPECT_EQ(m_pIo->SetProperty(0, timeOut), S_OK);
    std::string sData(600, '\0');
    const CLogWatch watch;
    m_Drive.dwError = ERROR_IO_DEVICE;
    EXPECT_EQ(Send(&ISptIoCtl::SendInDataCmd, Inquiry, 600, sData), HRESULT_FROM_WIN32(ERROR_IO_DEVICE));
    EXPECT_EQ(m_nKey, 0xEE);
    EXPECT_EQ(m_Drive.sRecord[16], 7);
    EXPECT_EQ(Send(&ISptIoCtl::SendInDataCmd, Read + '\0', 4, sData), E_INVALIDARG);
    EXPECT_EQ(Send(&ISptIoCtl::SendInDataCmd, Inquiry, 0xFFFFFFC0, sData), E_OUTOFMEMORY);
    EXPECT_EQ(m_pIo->Open(4), E_FAIL);
    EXPECT_EQ(m_Io.OpenHandles(), 1u);
    m_Drive.dwError = ERROR_SUCCESS;
    EXPECT_EQ(Send(&ISptIoCtl::SendInDataCmdDirect, Inquiry, 600, sData), S_OK);
    EXPECT_EQ(m_pIo->Close(), S_OK);
    EXPECT_EQ(Send(&ISptIoCtl::SendInDataCmdDirect, Inquiry, 600, sData), E_UNEXPECTED);
    EXPECT_THAT(
        watch.Records(),
        ElementsAre(EndsWith("] ::DeviceIoControl( \"\\\\.\\E:\", IOCTL_SCSI_PASS_THROUGH, OPCODE:0x12, IO:0x01, "
                             "DATA:600, TIMEOUT:7 ) failed. [0x8007045D]"),
                    EndsWith("] CdbSize(17) > 16"), EndsWith("] CHeapPtr<UINT8>::AllocateBytes( 4294967298 ) failed."),
                    EndsWith("] A drive (C:) has benn already opened."),
                    EndsWith("] Any drive hasn't been opend yet.")));
}

BOOL WINAPI NoSection(CRITICAL_SECTION*, DWORD)
{
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
}

// Half an object would be used, and destroyed, like a whole one.
TEST(SptIoCtlStdUtil, GivesNoObjectWithoutItsLock)
{
    const CImportPatch<decltype(NoSection)> section("InitializeCriticalSectionAndSpinCount", NoSection);
    const CLogWatch watch;
    EXPECT_EQ(CSptIoCtlStdUtil::CreateSptIoCtl(), nullptr);
    EXPECT_THAT(watch.Records(),
                ElementsAre(EndsWith("] CComObject<sptioctl::CSptIoCtl>::CreateInstance() failed. [0x80070008]")));
}

} // namespace
