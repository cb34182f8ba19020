#include <gmock/gmock.h>

#include <wrl/client.h>

#include "platform/Format.h"
#include "sptioctl/FakeDrive.h"
#include "sptioctl/StdIoCtlStdUtil.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

using namespace sptioctl;

namespace
{

using ::testing::ElementsAre;
using CPointer = Microsoft::WRL::ComPtr<ISptIoCtl>;

// The records without the names of their functions.
std::vector<std::string> Told(const CLogWatch& rWatch)
{
    std::vector<std::string> Told;
    for (const std::string& sRecord : rWatch.Records())
        Told.push_back(sRecord.substr(sRecord.find("] ") + 2));
    return Told;
}

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

    HRESULT In(bool bDirect, const std::vector<BYTE>& rCdb, DWORD dwSize, BYTE* pData)
    {
        const auto pSend = bDirect ? &ISptIoCtl::SendInDataCmdDirect : &ISptIoCtl::SendInDataCmd;
        return (m_pIo.Get()->*pSend)(static_cast<BYTE>(rCdb.size()), rCdb.data(), dwSize, pData, &m_dwTransferred,
                                     &m_nKey, &m_nASC, &m_nASCQ);
    }

    CFakePcIo m_Io;
    CFakeDrive m_Drive;
    CPointer m_pIo;
    DWORD m_dwTransferred = 77;
    BYTE m_nKey = 0xEE, m_nASC = 0xEE, m_nASCQ = 0xEE;
};

// The driver reads these bytes: an offset or a length that is off by one reaches a real drive. All but the data are the
// two forms' headers; the buffered one goes on with its data area.
TEST_F(CPassThrough, SendsItsRecordByteForByte)
{
    std::vector<BYTE> Data(600, 'd');
    BYTE* const pData = Data.data();
    const std::vector<BYTE> Ready = FromHex("00 00 00 00 00 00"), Inquiry = FromHex("12 00 00 00 24 00"),
                            Read = FromHex("88 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F");
    const std::string Sense = "00000000 0000000000000000000000000000 00000000"; // filler and 18 bytes
    ISptIoCtl& rIo = *m_pIo.Get();
    const struct
    {
        std::function<HRESULT()> Send;
        DWORD dwCode;
        std::string sHeader;
        std::size_t nSize;
        std::string sData; // the start of the data area
    } aCases[] = {
        { [&] { return rIo.SendNoDataCmd(6, Ready.data(), &m_nKey, &m_nASC, &m_nASCQ); }, 0x4D004,
          "2C00 00 00 01 00 06 12 02 000000 00000000 1E000000 42000000 30000000 00000000000000000000000000000000" +
              Sense,
          578, "" },
        { [&] { return In(true, Inquiry, 36, pData); }, 0x4D014,
          "2C00 00 00 01 00 06 12 01 000000 24000000 1E000000 - 30000000 12000000240000000000000000000000" + Sense, 66,
          "" },
        { [&] { return In(false, Read, 512, pData); }, 0x4D004,
          "2C00 00 00 01 00 10 12 01 000000 00020000 1E000000 42000000 30000000 880102030405060708090A0B0C0D0E0F" +
              Sense,
          578, "" },
        { [&] { return rIo.SendOutDataCmd(16, Read.data(), 513, pData, &m_dwTransferred, &m_nKey, &m_nASC, &m_nASCQ); },
          0x4D004,
          "2C00 00 00 01 00 10 12 00 000000 01020000 1E000000 42000000 30000000 880102030405060708090A0B0C0D0E0F" +
              Sense,
          594, std::string(513, 'd') },
        { [&] {
             return rIo.SendOutDataCmdDirect(6, Inquiry.data(), 513, pData, &m_dwTransferred, &m_nKey, &m_nASC,
                                             &m_nASCQ);
         },
          0x4D014,
          "2C00 00 00 01 00 06 12 00 000000 01020000 1E000000 - 30000000 12000000240000000000000000000000" + Sense, 66,
          "" },
    };
    for (const auto& rCase : aCases)
    {
        std::ranges::fill(Data, BYTE{ 'd' }); // a read before has cleared it
        EXPECT_EQ(rCase.Send(), S_OK);
        std::vector<BYTE> Expected = FromHex(rCase.sHeader, pData);
        EXPECT_EQ(Expected.size(), 66u);
        Expected.insert(Expected.end(), rCase.sData.begin(), rCase.sData.end());
        Expected.resize(rCase.nSize);
        EXPECT_EQ(m_Drive.dwCode, rCase.dwCode);
        EXPECT_EQ(m_Drive.Record, Expected) << rCase.sHeader;
        EXPECT_EQ(m_Drive.nOut, rCase.nSize);
    }
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
        bool bBuffered, bDirect; // whether they tell
    } aCases[] = {
        { 0x00, 0x00, 0x00, 0x00, S_OK, false, false }, { 0xFF, 0xF0, 0x3A, 0x00, E_UNEXPECTED, true, true },
        { 0x02, 0x02, 0x3A, 0x00, S_OK, false, true },  { 0x02, 0x02, 0x3A, 0x01, S_OK, true, false },
        { 0x00, 0xFF, 0xFF, 0xFF, S_OK, true, true },
    };
    for (const auto& rCase : aCases)
    {
        m_Drive = { .nStatus = rCase.nStatus,
                    .nSenseKey = rCase.nKey,
                    .nASC = rCase.nASC,
                    .nASCQ = rCase.nASCQ,
                    .dwTransferred = 2,
                    .sData = "ab" };
        for (const bool bDirect : { false, true })
        {
            BYTE aData[] = "xxxx";
            m_dwTransferred = 77;
            const CLogWatch watch;
            EXPECT_EQ(In(bDirect, FromHex("12 00 00 00 04 00"), 4, aData), rCase.hr);
            EXPECT_EQ(m_nKey, rCase.nKey & 0x0F);
            EXPECT_EQ(m_nASC, rCase.nASC);
            EXPECT_EQ(m_nASCQ, rCase.nASCQ);
            EXPECT_EQ(m_dwTransferred, SUCCEEDED(rCase.hr) ? 2u : 77u);
            // The tail of a short read is cleared by the buffered form; nothing is copied for a failed command.
            const char* const pBuffered = SUCCEEDED(rCase.hr) ? "ab\0\0" : "xxxx";
            EXPECT_EQ(std::memcmp(aData, bDirect ? "abxx" : pBuffered, 4), 0);
            std::vector<std::string> Expected;
            if (bDirect ? rCase.bDirect : rCase.bBuffered)
                Expected = { Utf8(
                    FormatText(L"CDB:6 OPCODE:0x12 / Status:%u Length:14 / SenseKey:0x%02X ASC:0x%02X ASCQ:0x%02X",
                               rCase.nStatus, m_nKey, m_nASC, m_nASCQ)) };
            EXPECT_EQ(Told(watch), Expected);
        }
    }
    // More than there was room for is what the device says, not what is copied.
    m_Drive = { .dwTransferred = 0xFFFFFFFF, .sData = std::string(512, 'z') };
    BYTE aData[] = "xxxx";
    EXPECT_EQ(In(false, FromHex("12"), 3, aData), S_OK);
    EXPECT_EQ(std::memcmp(aData, "zzzx", 4), 0);
    EXPECT_EQ(m_dwTransferred, 0xFFFFFFFF);
}

// A request that fails leaves the sense alone, the drive open and the next command possible; a second open must not
// lose the first one's handle.
TEST_F(CPassThrough, StaysOpenBehindAFailure)
{
    COpdSafeTypeValueT<unsigned> timeOut(7);
    EXPECT_EQ(m_pIo->SetProperty(0, timeOut), S_OK);
    const BYTE aCdb[17]{};
    BYTE aData[600];
    const CLogWatch watch;
    m_Drive.dwError = ERROR_IO_DEVICE;
    EXPECT_EQ(In(false, FromHex("A8 00"), 600, aData), HRESULT_FROM_WIN32(ERROR_IO_DEVICE));
    EXPECT_EQ(m_nKey, 0xEE);
    EXPECT_EQ(m_Drive.Record[16], 7);
    EXPECT_EQ(m_pIo->SendNoDataCmd(17, aCdb, &m_nKey, &m_nASC, &m_nASCQ), E_INVALIDARG);
    EXPECT_EQ(In(false, FromHex("A8 00"), 0xFFFFFFC0, aData), E_OUTOFMEMORY);
    EXPECT_EQ(m_pIo->Open(4), E_FAIL);
    EXPECT_EQ(m_Io.OpenHandles(), 1u);
    m_Drive.dwError = ERROR_SUCCESS;
    EXPECT_EQ(In(true, FromHex("A8 00"), 600, aData), S_OK);
    EXPECT_EQ(m_pIo->Close(), S_OK);
    EXPECT_EQ(In(true, FromHex("A8 00"), 600, aData), E_UNEXPECTED);
    EXPECT_THAT(Told(watch), ElementsAre("::DeviceIoControl( \"\\\\.\\E:\", IOCTL_SCSI_PASS_THROUGH, OPCODE:0xA8, "
                                         "IO:0x01, DATA:600, TIMEOUT:7 ) failed. [0x8007045D]",
                                         "CdbSize(17) > 16", "A drive (C:) has benn already opened.",
                                         "Any drive hasn't been opend yet."));
}

} // namespace
