#include <gmock/gmock.h>

#include <wrl/client.h>

#include <filesystem>
#include <map>

#include "platform/Path.h"
#include "sptioctl/SptIoCtlDebug.h"
#include "support/FakeDrive.h"
#include "support/ImportPatch.h"
#include "support/TestFolder.h"

using namespace sptioctl;

namespace
{

// A clock that the test sets.
WORD s_wMilliseconds;
void WINAPI TestTime(SYSTEMTIME* pTime)
{
    *pTime = { 2024, 2, 6, 3, 4, 5, 6, s_wMilliseconds };
}

class SptIoCtlDebug : public ::testing::Test
{
protected:
    SptIoCtlDebug()
    {
        std::filesystem::remove_all(m_sPath);
        m_pDebug = new CSptIoCtlDebug;
        m_Io.Add(L"\\\\.\\E:", [&](CFakeRequest& rRequest) { return m_Drive(rRequest); });
        EXPECT_EQ(m_pDebug->Open(4), S_OK);
    }
    ~SptIoCtlDebug() override { std::filesystem::remove_all(m_sPath); }

    // Name without "SCSI_20240203_040506" and ".dat", and content.
    std::map<std::string, std::string> Records() const
    {
        std::map<std::string, std::string> Records;
        for (const auto& rEntry : std::filesystem::directory_iterator(m_sPath))
        {
            const std::string sName = Utf8(rEntry.path().filename().wstring());
            EXPECT_TRUE(sName.starts_with("SCSI_20240203_040506") && sName.ends_with(".dat")) << sName;
            Records[sName.substr(20, sName.size() - 24)] = ReadBytes(rEntry.path().wstring());
        }
        return Records;
    }

    std::wstring m_sPath = ModuleDirPath() + L"\\log.SCSI";
    CFakePcIo m_Io;
    CFakeDrive m_Drive;
    Microsoft::WRL::ComPtr<CSptIoCtlDebug> m_pDebug;
};

// Whoever analyses a drive's behaviour replays these files in the order of their names.
TEST_F(SptIoCtlDebug, RecordsEveryCommand)
{
    const CImportPatch<decltype(TestTime)> time("GetLocalTime", TestTime);
    s_wMilliseconds = 7;
    const BYTE aCdb[]{ 0x12, 1, 2 };
    BYTE aData[]{ 'd', 'a', 't', 'a' }, nKey = 0, nASC = 0, nASCQ = 0;
    DWORD dwSize = 0;
    ISptIoCtl& rIo = *m_pDebug.Get();

    m_Drive = { .nStatus = 2, .nSenseKey = 2, .nASC = 0x3A };
    EXPECT_EQ(rIo.SendNoDataCmd(3, aCdb, &nKey, &nASC, &nASCQ), S_OK);
    m_Drive = { .dwTransferred = 2, .sData = "in" };
    EXPECT_EQ(rIo.SendInDataCmd(3, aCdb, 4, aData, &dwSize, &nKey, &nASC, &nASCQ), S_OK);
    m_Drive = { .dwTransferred = 0xFFFFFFFF };
    EXPECT_EQ(rIo.SendOutDataCmdDirect(1, aCdb, 4, aData, &dwSize, &nKey, &nASC, &nASCQ), S_OK);
    s_wMilliseconds = 8;
    m_Drive = {}; // nothing transferred, then nowhere to, then nothing to send
    EXPECT_EQ(rIo.SendInDataCmdDirect(1, aCdb, 4, aData, &dwSize, &nKey, &nASC, &nASCQ), S_OK);
    EXPECT_EQ(rIo.SendInDataCmd(1, aCdb, 0, nullptr, nullptr, &nKey, &nASC, &nASCQ), S_OK);
    EXPECT_EQ(rIo.SendNoDataCmdDirect(0, aCdb, &nKey, &nASC, &nASCQ), E_INVALIDARG);
    m_Drive.dwError = ERROR_IO_DEVICE;
    EXPECT_EQ(rIo.SendOutDataCmd(1, aCdb, 4, aData, &dwSize, &nKey, &nASC, &nASCQ),
              HRESULT_FROM_WIN32(ERROR_IO_DEVICE));

    const std::string Cdb("\x12\x01\x02"), Short("\x12"), Out("in\0\0", 4);
    // clang-format off
    const std::map<std::string, std::string> Expected{
        { "007-00_00_12", Cdb },   { "007-01_01_12_02_3A_00", "" },
        { "007-02_00_12", Cdb },   { "007-03_02_12_00_00_00", "in" },
        { "007-04_00_12", Short }, { "007-05_03_12_00_00_00", Out },
        { "008-00_00_12", Short }, { "008-01_02_12_00_00_00", "" },
        { "008-02_00_12", Short }, { "008-03_00_12", Short },
    };
    // clang-format on
    EXPECT_EQ(Records(), Expected);
}

// The next object may live by the one that goes: it would go with it.
TEST_F(SptIoCtlDebug, HoldsTheNextObjectBeforeItLetsTheOldOneGo)
{
    ISptIoCtl* const pOpen = m_pDebug.Get();
    Microsoft::WRL::ComPtr<CSptIoCtlDebug> pOuter(new CSptIoCtlDebug), pMiddle(new CSptIoCtlDebug);
    EXPECT_EQ(pMiddle->SetSptIoCtl(pOpen), S_OK);
    EXPECT_EQ(pOuter->SetSptIoCtl(pMiddle.Get()), S_OK);
    m_pDebug.Reset();
    pMiddle.Reset();
    EXPECT_EQ(pOuter->SetSptIoCtl(pOpen), S_OK);
    EXPECT_EQ(m_Io.OpenHandles(), 1u);
}

} // namespace
