#include "collect/ProcessInfoCollector.h"

#include "collect/NetworkReportText.h"
#include "platform/Format.h"
#include "platform/Path.h"
#include "platform/Text.h"
#include "support/ImportPatch.h"

namespace
{

std::vector<DWORD> g_Privileges;
BOOL WINAPI FakeAdjust(HANDLE, BOOL, TOKEN_PRIVILEGES* pNew, DWORD, TOKEN_PRIVILEGES*, DWORD*)
{
    g_Privileges.push_back(pNew->Privileges[0].Attributes);
    return TRUE;
}

// Of a process in the lists this one is known: its block must be whole in both reports, and the privilege given back.
TEST(ProcessInfoCollector, ListsThisProcessWithItsModules)
{
    const CImportPatch adjust("AdjustTokenPrivileges", &FakeAdjust);
    const CTestFolder folder;
    EXPECT_EQ(CProcessInfoCollector().Collect(folder / L"new"), S_OK);
    EXPECT_THAT(g_Privileges, ::testing::ElementsAre(2u, 0u));
    const std::string sPath = Utf8(ModulePath()), sName = Utf8(FileNamePart(ModulePath()));
    const auto* const pBase = reinterpret_cast<const BYTE*>(::GetModuleHandleW(nullptr));
    const DWORD dwSize = reinterpret_cast<const IMAGE_NT_HEADERS*>(pBase + reinterpret_cast<const IMAGE_DOS_HEADER*>(pBase)->e_lfanew)->OptionalHeader.SizeOfImage;
    const std::string sHead = "\n" + std::string(48, '_') + "\n[" + sName + "]\n\n", sSize = std::to_string(dwSize);
    EXPECT_THAT(ReportBody(folder / L"new\\RunningProcesses.txt"), ::testing::HasSubstr(sHead + sName + '\t' + sPath + '\t' + sSize + '\n'));

    const std::string sDetail = ReportBody(folder / L"new\\RunningProcessesDetail.txt"), sId = Utf8(FormatText(L"0x%08X", ::GetCurrentProcessId()));
    std::string sBlock = sDetail.substr(std::min(sDetail.size(), sDetail.find(sHead)));
    sBlock = std::regex_replace(sBlock, std::regex("(Parent : 0x|Threads    : |Priority        : |Module ID           : 0x)[-0-9A-F]+"), "$1*");
    EXPECT_THAT(sBlock, ::testing::StartsWith(sHead + "Process ID           : " + sId + "\nProcess ID of Parent : 0x*\nNumber of Threads    : *\nBase Priority        : *\n\n"
                                              "  Module Name         : \"" + sName + "\"\n  Module Path         : \"" + sPath + "\"\n  Module Size         : " + sSize +
                                              "\n  Base Address        : " + Utf8(FormatText(L"0x%08X", reinterpret_cast<ULONG_PTR>(pBase))) +
                                              "\n  Module ID           : 0x*\n  Process ID          : " + sId + "\n\n"));
}

} // namespace
