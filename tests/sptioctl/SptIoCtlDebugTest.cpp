#include <gmock/gmock.h>

#include <wrl/client.h>

#include <filesystem>
#include <map>

#include "platform/Path.h"
#include "sptioctl/FakeDrive.h"
#include "sptioctl/SptIoCtlDebug.h"
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

// The folder beside the program, gone before and after.
class CRecordFolder
{
public:
    CRecordFolder() { std::filesystem::remove_all(m_sPath); }
    ~CRecordFolder() { std::filesystem::remove_all(m_sPath); }

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

private:
    std::wstring m_sPath = ModuleDirPath() + L"\\log.SCSI";
};

// Whoever analyses a drive's behaviour replays these files in the order of their names.
TEST(SptIoCtlDebug, RecordsEveryCommand)
{
    const CRecordFolder folder;
    CFakePcIo io;
    CFakeDrive drive;
    io.Add(L"\\\\.\\E:", [&](CFakeRequest& rRequest) { return drive(rRequest); });
    const CImportPatch<decltype(TestTime)> time("GetLocalTime", TestTime);
    s_wMilliseconds = 7;
    Microsoft::WRL::ComPtr<CSptIoCtlDebug> pDebug(new CSptIoCtlDebug);
    ASSERT_EQ(pDebug->Open(4), S_OK);
    const BYTE aCdb[]{ 0x12, 1, 2 };
    BYTE aData[]{ 'd', 'a', 't', 'a' }, nKey = 0, nASC = 0, nASCQ = 0;
    DWORD dwTransferred = 0;

    drive = { .nStatus = 2, .nSenseKey = 2, .nASC = 0x3A };
    EXPECT_EQ(pDebug->SendNoDataCmd(3, aCdb, &nKey, &nASC, &nASCQ), S_OK); // 00, 01
    drive = { .dwTransferred = 2, .sData = "in" };
    EXPECT_EQ(pDebug->SendInDataCmd(3, aCdb, 4, aData, &dwTransferred, &nKey, &nASC, &nASCQ), S_OK); // 02, 03
    drive = { .dwTransferred = 0xFFFFFFFF };
    EXPECT_EQ(pDebug->SendOutDataCmdDirect(1, aCdb, 4, aData, &dwTransferred, &nKey, &nASC, &nASCQ), S_OK); // 04, 05
    s_wMilliseconds = 8;
    drive = {};
    EXPECT_EQ(pDebug->SendInDataCmdDirect(1, aCdb, 4, aData, &dwTransferred, &nKey, &nASC, &nASCQ),
              S_OK); // 00, 01, nothing transferred
    EXPECT_EQ(pDebug->SendInDataCmd(1, aCdb, 0, nullptr, nullptr, &nKey, &nASC, &nASCQ), S_OK); // 02, no data to record
    EXPECT_EQ(pDebug->SendNoDataCmdDirect(0, aCdb, &nKey, &nASC, &nASCQ), E_INVALIDARG);        // nothing to record
    drive.dwError = ERROR_IO_DEVICE;
    EXPECT_EQ(pDebug->SendOutDataCmd(1, aCdb, 4, aData, &dwTransferred, &nKey, &nASC, &nASCQ),
              HRESULT_FROM_WIN32(ERROR_IO_DEVICE)); // 03 alone

    const std::string Cdb("\x12\x01\x02");
    // clang-format off
    const std::map<std::string, std::string> Expected{
        { "007-00_00_12", Cdb }, { "007-01_01_12_02_3A_00", "" },   { "007-02_00_12", Cdb },    { "007-03_02_12_00_00_00", "in" },
        { "007-04_00_12", "\x12" },
        { "007-05_03_12_00_00_00", std::string("in\0\0", 4) }, { "008-00_00_12", "\x12" }, { "008-01_02_12_00_00_00", "" },
        { "008-02_00_12", "\x12" }, { "008-03_00_12", "\x12" },
    };
    // clang-format on
    EXPECT_EQ(folder.Records(), Expected);
}

} // namespace
