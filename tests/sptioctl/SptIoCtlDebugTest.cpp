#include <gmock/gmock.h>

#include <wrl/client.h>

#include <filesystem>
#include <map>
#include <regex>

#include "opdutility/OpdExecFile.h"
#include "opdutility/OpdFileHelper.h"
#include "platform/AnsiText.h"
#include "platform/Path.h"
#include "sptioctl/FakeDrive.h"
#include "sptioctl/SptIoCtlDebug.h"
#include "sptioctl/StdIoCtlStdUtil.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

using namespace sptioctl;

namespace
{

// A clock that stands still until it is told to go.
WORD s_wMilliseconds;
bool s_bClockRuns;
void WINAPI TestTime(SYSTEMTIME* pTime)
{
    *pTime = { 2024, 2, 6, 3, 4, 5, 6, s_wMilliseconds };
    if (s_bClockRuns)
        ++s_wMilliseconds;
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
    s_bClockRuns = false;
    Microsoft::WRL::ComPtr<CSptIoCtlDebug> pDebug(new CSptIoCtlDebug);
    ASSERT_EQ(pDebug->Open(4), S_OK);
    const BYTE aCdb[]{ 0x12, 1, 2 };
    BYTE aData[]{ 'd', 'a', 't', 'a' }, nKey = 0, nASC = 0, nASCQ = 0;
    DWORD dwTransferred = 0;
    const CLogWatch watch;

    drive = { .nStatus = 2, .nSenseKey = 2, .nASC = 0x3A };
    EXPECT_EQ(pDebug->SendNoDataCmd(3, aCdb, &nKey, &nASC, &nASCQ), S_OK);                                      // 00, 01
    drive = { .dwTransferred = 2, .sData = "in" };
    EXPECT_EQ(pDebug->SendInDataCmd(3, aCdb, 4, aData, &dwTransferred, &nKey, &nASC, &nASCQ), S_OK);            // 02, 03
    drive = { .dwTransferred = 0xFFFFFFFF };
    EXPECT_EQ(pDebug->SendOutDataCmdDirect(1, aCdb, 4, aData, &dwTransferred, &nKey, &nASC, &nASCQ), S_OK);     // 04, 05
    s_wMilliseconds = 8;
    drive = {};
    EXPECT_EQ(pDebug->SendInDataCmdDirect(1, aCdb, 4, aData, &dwTransferred, &nKey, &nASC, &nASCQ), S_OK);      // 00, 01, nothing transferred
    EXPECT_EQ(pDebug->SendInDataCmd(1, aCdb, 0, nullptr, nullptr, &nKey, &nASC, &nASCQ), S_OK);                 // 02, no data to record
    EXPECT_EQ(pDebug->SendNoDataCmdDirect(0, aCdb, &nKey, &nASC, &nASCQ), E_INVALIDARG);                        // nothing to record
    drive.dwError = ERROR_IO_DEVICE;
    EXPECT_EQ(pDebug->SendOutDataCmd(1, aCdb, 4, aData, &dwTransferred, &nKey, &nASC, &nASCQ), HRESULT_FROM_WIN32(ERROR_IO_DEVICE)); // 03 alone

    const std::string Cdb("\x12\x01\x02");
    const std::map<std::string, std::string> Expected{
        { "007-00_00_12", Cdb }, { "007-01_01_12_02_3A_00", "" },   { "007-02_00_12", Cdb },    { "007-03_02_12_00_00_00", "in" },
        { "007-04_00_12", "\x12" },
        { "007-05_03_12_00_00_00", std::string("in\0\0", 4) }, { "008-00_00_12", "\x12" }, { "008-01_02_12_00_00_00", "" },
        { "008-02_00_12", "\x12" }, { "008-03_00_12", "\x12" },
    };
    EXPECT_EQ(folder.Records(), Expected);
    const auto Records = watch.Records();
    ASSERT_EQ(Records.size(), 4u);
    EXPECT_TRUE(Records[1].ends_with("] ISptIoCtl::SendNoDataCmdDirect() failed. [0x80070057]"));
    EXPECT_TRUE(Records[3].ends_with("CSptIoCtlDebug::SendOutDataCmd] ISptIoCtl::SendNoDataCmd() failed. [0x8007045D]")); // this wording is fixed
}

// A name that is taken is waited out, and a record that cannot be made never reaches the command.
TEST(SptIoCtlDebug, WaitsForAFreeName)
{
    const CRecordFolder folder;
    const CTestFolder current;
    const std::wstring sBefore = std::filesystem::current_path().wstring();
    std::filesystem::current_path(current.Path());
    current.Write(L"SCSI_20240203_040506000-00_00_00.dat", "taken");
    const CImportPatch<decltype(TestTime)> time("GetLocalTime", TestTime);
    s_wMilliseconds = 0;
    s_bClockRuns = true;
    Microsoft::WRL::ComPtr<CSptIoCtlDebug> pDebug(new CSptIoCtlDebug);
    const BYTE aCdb[]{ 0 };
    BYTE nSense = 0;
    EXPECT_EQ(pDebug->SendNoDataCmd(1, aCdb, &nSense, &nSense, &nSense), E_UNEXPECTED); // no drive is open
    EXPECT_EQ(folder.Records(), (std::map<std::string, std::string>{ { "001-00_00_00", std::string(1, '\0') } }));
    s_wMilliseconds = 1; // the same name once more: it stands in the folder of the records, where nobody looks
    EXPECT_EQ(pDebug->SendNoDataCmd(1, aCdb, &nSense, &nSense, &nSense), E_UNEXPECTED);
    EXPECT_EQ(folder.Records().size(), 2u);
    std::filesystem::current_path(sBefore);
}

// References are what keeps the drive open: the decorator must hold exactly one, and give the old object's back.
TEST(SptIoCtlDebug, HoldsOneReferenceOnWhatItWraps)
{
    const CRecordFolder folder;
    Microsoft::WRL::ComPtr<CSptIoCtl> pPlain(new CSptIoCtl), pOther(new CSptIoCtl);
    const auto References = [](CSptIoCtl* pObject) {
        pObject->AddRef();
        return pObject->Release();
    };
    {
        Microsoft::WRL::ComPtr<CSptIoCtlDebug> pDebug(new CSptIoCtlDebug);
        EXPECT_EQ(pDebug->SetSptIoCtl(nullptr), E_POINTER);
        EXPECT_EQ(pDebug->SetSptIoCtl(pPlain.Get()), S_OK);
        EXPECT_EQ(pDebug->SetSptIoCtl(pPlain.Get()), S_OK);
        EXPECT_EQ(References(pPlain.Get()), 2u);
        EXPECT_EQ(pDebug->SetSptIoCtl(pOther.Get()), S_OK);
        EXPECT_EQ(References(pPlain.Get()), 1u);
        COpdSafeTypeValueT<unsigned> timeOut(12);
        EXPECT_EQ(pDebug->SetProperty(0, timeOut), S_OK);
        COpdSafeTypeValueT<unsigned> read(0);
        EXPECT_EQ(pOther->GetProperty(0, read), S_OK);
        unsigned nTimeOut = 0;
        COpdSafeTypeT<unsigned>(&nTimeOut).Set(read);
        EXPECT_EQ(nTimeOut, 12u);
        EXPECT_EQ(pDebug->GetProperty(5, read), E_FAIL);
    }
    EXPECT_EQ(References(pOther.Get()), 1u);
}

// With the subject in the log's filter the maker puts the recorder in front, and the wire is traced line by line. The
// test runs a copy of its own program; the variable tells the child what it is.
TEST(SptIoCtlDebug, ComesWithTheLogFilter)
{
    constexpr const wchar_t* Mark = L"KELVARIN_TEST_SCSI";
    if (::GetEnvironmentVariableW(Mark, nullptr, 0) != 0)
    {
        CFakePcIo io;
        CFakeDrive drive{ .nStatus = 0x33, .nSenseKey = 0x0B, .dwTransferred = 2 };
        io.Add(L"\\\\.\\E:", [&](CFakeRequest& rRequest) { return drive(rRequest); });
        Microsoft::WRL::ComPtr<ISptIoCtl> pIo(CSptIoCtlStdUtil::CreateSptIoCtl());
        const BYTE aCdb[]{ 0x12 };
        BYTE aData[8], nSense = 0;
        DWORD dwTransferred = 0;
        EXPECT_EQ(pIo->Open(4), S_OK);
        EXPECT_EQ(pIo->SendInDataCmdDirect(1, aCdb, 8, aData, &dwTransferred, &nSense, &nSense, &nSense), S_OK);
        return;
    }

    const CTestFolder folder;
    const std::wstring sProgram = folder / L"traced.exe";
    ASSERT_TRUE(::CopyFileW(ModulePath().c_str(), sProgram.c_str(), TRUE));
    folder.Write(L"Kelvarin.log.xml", "<LOG><FACTORY name='IOutputLogSystemFactory' class='opLogSys::File::COutputLogSystemFactory' "
                                      "autoflush='true' location='.\\trace'/>"
                                      "<FILTERLIST><FILTER subject='CSptIoCtl' minLevel='10' maxLevel='30'/>"
                                      "<FILTER subject='CSptIoCtlDebug' minLevel='10' maxLevel='10'/>"
                                      "</FILTERLIST></LOG>");
    ::SetEnvironmentVariableW(Mark, L"1");
    DWORD dwExitCode = 99;
    const std::wstring sParameters =
        L"-l" + folder.Path() + L" -path:result" + folder.Path() + L" --gtest_filter=SptIoCtlDebug.ComesWithTheLogFilter";
    EXPECT_EQ(COpdExecFile::Execute(sProgram, sParameters, &dwExitCode), S_OK);
    ::SetEnvironmentVariableW(Mark, nullptr);
    EXPECT_EQ(dwExitCode, 0u);

    std::vector<std::wstring> Names;
    EXPECT_EQ(COpdFileHelper::FindFiles(folder / L"log.SCSI\\SCSI_*.dat", Names), S_OK);
    EXPECT_EQ(Names.size(), 2u);
    Names.clear();
    ASSERT_EQ(COpdFileHelper::FindFiles(folder / L"trace\\Kelvarin-*.log", Names), S_OK);
    ASSERT_EQ(Names.size(), 1u);
    // Each line behind its stamp, from the bars on.
    const std::string sTrace =
        std::regex_replace(ReadBytes(folder / (L"trace\\" + Names[0])), std::regex("\\[[0-9A-F]{8}\\]\\[[^\\]]*\\]|\r"), "");
    const std::wstring sBars = L"│││";
    std::wstring sExpected;
    for (const wchar_t* pLine :
         { L"DeviceIoControl( IOCTL_SCSI_PASS_THROUGH ) succeeded. [0]", L"  Device:      \\\\.\\E:", L"  CDB:         1 [byte]",
           L"  CDB OPCODE:  0x12",
           L"  Data:        8 [byte]", L"  Transferred: 2 [byte]", L"  Direction:   0x01", L"  Sense Data:  14 [byte]", L"  Time Out:    30 [sec]",
           L"  Returned:    66 [byte]", L"Status: [00000033h] Reserved", L"SenseKey: [Bh] ABORTED COMMAND",
           L"Status:51 Length:14 / SenseKey:0x0B ASC:0x00 ASCQ:0x00" })
        sExpected += sBars + L" " + pLine + L"\n";
    EXPECT_NE(sTrace.find(ToNarrow(sExpected, CP_ACP)), sTrace.npos) << sTrace;
    EXPECT_NE(sTrace.find("DriveIndex: \"4\"(E:)"), sTrace.npos);
}

} // namespace
