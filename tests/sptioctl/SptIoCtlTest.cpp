#include <gtest/gtest.h>

#include <wrl/client.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "hardware/ByteFigures.h"
#include "platform/Path.h"
#include "sptioctl/SptIoCtlDebug.h"
#include "sptioctl/StdIoCtlStdUtil.h"
#include "support/FakePcIo.h"
#include "support/Golden.h"

using namespace sptioctl;

namespace
{

using namespace std::string_literals;

const std::string Inquiry = "\x12\0\0\0\x24\0"s,
                  Read = "\x88\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F";

// A drive that answers both requests as the test says, and keeps what it was sent.
struct CDrive
{
    DWORD dwError = ERROR_SUCCESS;
    BYTE nStatus = 0, nSenseKey = 0, nASC = 0, nASCQ = 0;
    DWORD dwTransferred = 0;
    std::string sData = {}; // into the data area, or the caller's buffer
    DWORD dwCode = 0;
    std::string sRecord = {};

    DWORD operator()(CFakeRequest& rRequest)
    {
        dwCode = rRequest.dwCode;
        sRecord.assign(rRequest.In.begin(), rRequest.In.end());
        EXPECT_EQ(rRequest.Out.size(), sRecord.size());
        if (dwError != ERROR_SUCCESS)
            return dwError;
        BYTE* const pOut = rRequest.Out.data();
        BYTE* pData = pOut + 66;
        if (dwCode == 0x4D014)
            std::memcpy(&pData, pOut + 20, sizeof pData);
        pOut[2] = nStatus;
        pOut[7] = 14;
        std::memcpy(pOut + 12, &dwTransferred, sizeof dwTransferred);
        pOut[50] = nSenseKey;
        pOut[60] = nASC;
        pOut[61] = nASCQ;
        std::copy(sData.begin(), sData.end(), pData);
        return ERROR_SUCCESS;
    }
};

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
    CDrive m_Drive;
    Microsoft::WRL::ComPtr<ISptIoCtl> m_pIo;
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
        sSent += Utf8(FormatText(L"%06X %u", m_Drive.dwCode, rsRecord.size()));
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
    EXPECT_EQ(m_Io.LastOpening.dwAccess, GENERIC_READ | GENERIC_WRITE);
    EXPECT_EQ(m_Io.LastOpening.dwFlags, FILE_FLAG_WRITE_THROUGH);
}

// A sense key is no failure; key 0 with a bad status is. The two forms are silent about opposite halves of "not ready".
// The tail of a short read is cleared by the buffered form; nothing is copied for a failed command. More than there was
// room for is what the device says, not what is copied.
TEST_F(CPassThrough, JudgesByKeyAndStatus)
{
    const CDrive aAnswers[] = {
        { .dwTransferred = 2, .sData = "ab" },
        { .nStatus = 0xFF, .nSenseKey = 0xF0, .nASC = 0x3A, .dwTransferred = 2, .sData = "ab" },
        { .nStatus = 2, .nSenseKey = 2, .nASC = 0x3A, .dwTransferred = 2, .sData = "ab" },
        { .nStatus = 2, .nSenseKey = 2, .nASC = 0x3A, .nASCQ = 1, .dwTransferred = 2, .sData = "ab" },
        { .nSenseKey = 0xFF, .nASC = 0xFF, .nASCQ = 0xFF, .dwTransferred = 2, .sData = "ab" },
        { .dwTransferred = 0xFFFFFFFF, .sData = "zzz" },
    };
    std::vector<std::string> Told;
    for (const CDrive& rAnswer : aAnswers)
    {
        for (const auto pSend : { &ISptIoCtl::SendInDataCmd, &ISptIoCtl::SendInDataCmdDirect })
        {
            m_Drive = rAnswer;
            std::string sData = "xxxx";
            m_dwTransferred = 77;
            const CLogWatch watch;
            const HRESULT hr = Send(pSend, Inquiry, 3, sData);
            std::ranges::replace(sData, '\0', '.');
            Told.push_back(
                sData + Utf8(FormatText(L" %u of %08X, %X %02X %02X", m_dwTransferred, hr, m_nKey, m_nASC, m_nASCQ)));
            std::ranges::copy(watch.Records(), std::back_inserter(Told));
        }
    }
    ExpectGolden(L"ScsiVerdicts.txt", Joined(Told), L"");
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
    ExpectGolden(L"ScsiFailures.log", Joined(watch.Records()), L"");
}

// Whoever analyses a drive's behaviour replays these files in the order of their names.
TEST_F(CPassThrough, IsRecorded)
{
    const std::wstring sFolder = ModuleDirPath() + L"\\log.SCSI";
    std::filesystem::remove_all(sFolder);
    SYSTEMTIME Now{ 2024, 2, 6, 3, 4, 5, 6, 7 };
    const auto time = FakeImport<decltype(::GetLocalTime)>("GetLocalTime", [&](SYSTEMTIME* pTime) { *pTime = Now; });
    const Microsoft::WRL::ComPtr<CSptIoCtlDebug> pDebug(new CSptIoCtlDebug);
    EXPECT_EQ(pDebug->SetSptIoCtl(m_pIo.Get()), S_OK);
    m_pIo = pDebug;
    const BYTE aCdb[]{ 0x31, 0x32, 0x33 };
    const std::string sCdb = "123";
    std::string sData = "data";

    m_Drive = { .nStatus = 2, .nSenseKey = 2, .nASC = 0x3A };
    EXPECT_EQ(m_pIo->SendNoDataCmd(3, aCdb, &m_nKey, &m_nASC, &m_nASCQ), S_OK);
    m_Drive = { .dwTransferred = 2, .sData = "in" };
    EXPECT_EQ(Send(&ISptIoCtl::SendInDataCmd, sCdb, 4, sData), S_OK);
    m_Drive = { .dwTransferred = 0xFFFFFFFF };
    EXPECT_EQ(Send(&ISptIoCtl::SendOutDataCmdDirect, sCdb, 4, sData = "data"), S_OK);
    Now.wMilliseconds = 8;
    m_Drive = {}; // nothing transferred, then nothing to send
    EXPECT_EQ(Send(&ISptIoCtl::SendInDataCmdDirect, sCdb, 4, sData), S_OK);
    EXPECT_EQ(m_pIo->SendNoDataCmdDirect(0, aCdb, &m_nKey, &m_nASC, &m_nASCQ), E_INVALIDARG);
    m_Drive.dwError = ERROR_IO_DEVICE;
    EXPECT_EQ(Send(&ISptIoCtl::SendOutDataCmd, sCdb, 4, sData), HRESULT_FROM_WIN32(ERROR_IO_DEVICE));
    ExpectGolden(L"ScsiRecorded.txt", FilesBelow(sFolder), L"");
    std::filesystem::remove_all(sFolder);
}

} // namespace
