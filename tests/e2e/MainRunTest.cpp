// The main run, shown and silent, as its user and a calling script see it.
#include <shlobj.h>

#include <cstdlib>
#include <regex>

#include <gmock/gmock.h>

#include "e2e/Program.h"
#include "platform/Format.h"
#include "platform/Path.h"
#include "support/ScratchKey.h"

namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::Pair;

// Of one file, so that the dialog can be seen at work; heap checks make each of them slow.
const int Repeats = ::_wgetenv(L"KELVARIN_HEAP_CHECKS") != nullptr ? 150 : 1500;

std::string Repeated(const std::string& sText, int nTimes)
{
    std::string sAll;
    while (nTimes-- > 0)
        sAll += sText;
    return sAll;
}

// A product of one file, one registry value, one service and one class that must not be there.
class MainRun : public ::testing::Test
{
protected:
    MainRun()
    {
        m_Installation.Folder().Write(L"data\\hello.txt", "hello");
        m_Key.SetText(L"Name", L"Velmora");
    }
    // Every test has the same intact entries; each may add its own.
    void WriteManifest(const std::string& sFiles = "", const std::string& sServices = "")
    {
        const std::string sHello = "<file name='hello.txt' size='5' sha1='qvTGHdzF6KLavt4PO0gs2a6pQ00='/>";
        m_Installation.Folder().Write(
            L"Kelvarin.xml",
            "<installchecker><file-infos><directory name='" + m_sData + "'>" + Repeated(sHello, Repeats) + sFiles +
                "</directory></file-infos><registry-infos><key name='HKEY_LOCAL_MACHINE\\SOFTWARE\\KelvarinE2e'>"
                "<value name='Name' type='REG_SZ' value='Velmora'/></key></registry-infos>"
                "<nt-service-infos><nt-service name='RpcSs'/>" +
                sServices +
                "</nt-service-infos>"
                "<not-register-com-infos><coclass name='Ghost' clsid='{8A4EDA52-4BE3-40C6-8E70-B02D1A6F14CF}' "
                "directory='C:\\' file='ghost.ax'/>"
                "</not-register-com-infos></installchecker>");
    }
    // The result file's lines behind its head.
    std::vector<std::string> Findings(const std::string& sFile = "", const std::string& sService = "") const
    {
        std::vector<std::string> Lines(static_cast<std::size_t>(Repeats),
                                       "Succeeded: Check File Info \"" + m_sData + "\\hello.txt\"");
        const auto Add = [&Lines](const std::string& sLine) {
            if (!sLine.empty())
                Lines.push_back(sLine);
        };
        Add(sFile);
        Add("Succeeded: Check Registry Info.[key:\"HKEY_LOCAL_MACHINE\\SOFTWARE\\KelvarinE2e\"][value:\"Name\"]");
        Add("Succeeded: Check NT Service Info.[name:\"RpcSs\"]");
        Add(sService);
        Add("Succeeded: \"Ghost\" not registered.");
        return Lines;
    }
    void ExpectResultFile(const std::vector<std::string>& rFindings) const
    {
        std::vector<std::string> Lines = m_Installation.ResultLines();
        ASSERT_GE(Lines.size(), 2u);
        EXPECT_EQ(Lines[0], std::string(48, '_'));
        static const std::regex Stamp(R"(\[\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\] Version [\d.]+)");
        EXPECT_TRUE(std::regex_match(Lines[1], Stamp)) << Lines[1];
        Lines.erase(Lines.begin(), Lines.begin() + 2);
        EXPECT_EQ(Lines, rFindings);
    }

    CInstallation m_Installation;
    CScratchKey m_Key{ L"KelvarinE2e" };
    std::string m_sData = Utf8(m_Installation.Folder() / L"data");
};

// The user would see no progress, a wrong outcome, or a result file that does not say what was found.
TEST_F(MainRun, ShowsItsProgressAndSaysOkOfAnIntactInstallation)
{
    WriteManifest();
    const CRunReport Report = m_Installation.Run(L"");
    EXPECT_EQ(Report.sDialogCaption, "Kelvarin");
    ASSERT_FALSE(Report.Progress.empty());
    EXPECT_THAT(Report.Progress, Contains(Pair(Ge(1), "Checking Files...(\"" + m_sData + "\\hello.txt\")")));
    EXPECT_THAT(Report.Progress.back(), Pair(100, "Completed."));
    EXPECT_EQ(Report.sBoxCaption, "Kelvarin");
    EXPECT_EQ(Report.sBoxText, " OK ");
    EXPECT_EQ(Report.dwExitCode, 0u);
    ExpectResultFile(Findings());
}

// Failures of two stages would not add up, or would be mistaken for a failure of the run. An unattended run would stop
// at a window that nobody sees, or would do less than a shown one. What is not understood must not keep it from
// running.
TEST_F(MainRun, CountsWhatFailedAndShowsNothingWhenSilent)
{
    WriteManifest("<file name='gone.txt'/>", "<nt-service name='NoSuchService'/>");
    for (const bool bSilent : { false, true })
    {
        const CRunReport Report = m_Installation.Run(
            bSilent ? L"--help /? -collect:nothing -collect:asiofoo -create -path:elsewhere \"\" \"-\" %s%n -silent"
                    : L"");
        EXPECT_EQ(Report.bWindowShown, !bSilent);
        EXPECT_FALSE(Report.Progress.empty()) << "the hidden dialog was not found, so nothing was watched";
        EXPECT_EQ(Report.sBoxText, bSilent ? "" : "NG [Failed:2]");
        EXPECT_EQ(Report.dwExitCode, 0u);
        ExpectResultFile(Findings("Failed: File is not found.\"" + m_sData + "\\gone.txt\"",
                                  "Failed: NT Service can not open.[name:\"NoSuchService\"]"));
    }
}

// Windows' own loop behind a dragged dialog takes the quit message: the program would wait for it for ever.
TEST_F(MainRun, EndsThoughItsDialogIsBeingDragged)
{
    WriteManifest();
    const CProgramRun Run(m_Installation.CommandLine(L""));
    const HWND hDialog = Run.WaitForText("Checking Files...(");
    ASSERT_NE(hDialog, nullptr);
    ::PostMessageW(hDialog, WM_SYSCOMMAND, SC_MOVE | HTCAPTION, 0);
    EXPECT_EQ(Run.Watch(15000).sBoxText, " OK ");
}

// A support desk that forgets the manifest must read why, in the box, the exit code and the log.
TEST_F(MainRun, SaysErrorWithoutItsManifest)
{
    const CRunReport Report = m_Installation.Run(L"");
    EXPECT_EQ(Report.sBoxText, "ERROR [0x80004005]");
    EXPECT_EQ(Report.sBoxCaption, "Kelvarin");
    EXPECT_EQ(Report.dwExitCode, static_cast<DWORD>(E_FAIL));
    ExpectResultFile({});
    const std::string sPath = Utf8(m_Installation.Folder() / L"Kelvarin.xml");
    EXPECT_THAT(m_Installation.Messages("CKelvarinApp::ExecuteWorkerThread"),
                ElementsAre("CConfigFile::Load( \"" + sPath + "\" ) failed. [0x80004005]"));
    EXPECT_THAT(m_Installation.Messages("CKelvarinApp::ExecuteMainTask"),
                ElementsAre("Check failed. [m_hResult:0x80004005]"));
}

// With its result folder the log has lost its place as well: it must go where it always can.
TEST_F(MainRun, SaysErrorWhenAFileStandsWhereTheResultFolderShouldBe)
{
    WriteManifest();
    m_Installation.Folder().Write(L"result", "in the way");
    const CProgramRun Run(m_Installation.CommandLine(L""));
    const CRunReport Report = Run.Watch();
    EXPECT_EQ(Report.sBoxText, "ERROR [0x8000FFFF]");
    EXPECT_EQ(Report.dwExitCode, static_cast<DWORD>(E_UNEXPECTED));
    std::wstring sAppData;
    ASSERT_TRUE(GetSpecialFolder(CSIDL_COMMON_APPDATA, false, sAppData));
    std::vector<std::string> Records;
    for (const CLogLine& rLine : ReadLog(sAppData + L"\\Tolvane Corporation\\Velmora\\Kelvarin.log"))
        Records.push_back(rLine.dwProcessId == Run.Id() ? rLine.sText : "");
    EXPECT_THAT(Records,
                Contains("[CKelvarinApp::GetLogFilePath] CCmdLineParam::GetResultDirPath() failed. [0x8000FFFF]"));
}

// Ended by the user or by a crash, the file must hold nothing but whole lines.
TEST_F(MainRun, LeavesWholeLinesWhenItIsKilled)
{
    WriteManifest(Repeated("<file name='hello.txt' size='5'/>", 6000));
    const std::size_t nAll = Findings().size() + 6000 + 2;
    std::srand(20140309);
    int nInTheMiddle = 0;
    for (int nRound = 0; nRound < 20; ++nRound)
    {
        ::DeleteFileW(m_Installation.ResultFile().c_str());
        const CProgramRun Run(m_Installation.CommandLine(L"-s"));
        ASSERT_NE(Run.WaitForText("Checking Files...("), nullptr);
        ::Sleep(static_cast<DWORD>(std::rand() % 200));
        Run.Kill();
        const std::vector<std::string> Lines = m_Installation.ResultLines(); // throws at a torn line
        static const std::regex Beginning(R"(_{48}$|\[\d{4}/|Succeeded: (Check|"Ghost"))");
        for (const std::string& rLine : Lines)
            ASSERT_TRUE(std::regex_search(rLine, Beginning, std::regex_constants::match_continuous)) << rLine;
        nInTheMiddle += Lines.size() > 2 && Lines.size() < nAll;
    }
    EXPECT_GE(nInTheMiddle, 10) << "the program was hardly ever killed at work";
}

} // namespace
