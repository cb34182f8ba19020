#include <gmock/gmock.h>

#include <algorithm>

#include "hardware/OpdCmApi.h"
#include "hardware/OpdHardwareList.h"
#include "hardware/OpdHardwareTree.h"
#include "hardware/SamplePc.h"
#include "opdutility/OpdFileHelper.h"
#include "platform/Handle.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"

namespace
{

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

void WINAPI FixedTime(SYSTEMTIME* pTime)
{
    *pTime = { 2024, 2, 6, 3, 4, 5, 6, 7 };
}

// People and scripts read these files column by column.
TEST(HardwareTree, IsWrittenInBriefAndInDetail)
{
    CFakePcDevices pc;
    AddSamplePc(pc);
    const CTestFolder folder;
    const CLogWatch watch;
    EXPECT_EQ(COpdHardwareTree().DumpDeviceTree(folder / L"brief.txt"), S_OK);
    EXPECT_EQ(ReadBytes(folder / L"brief.txt"), GoldenDump(L"DeviceTree.txt"));
    // Parents first, children before siblings, and the sibling asked for when the children are done.
    EXPECT_EQ(pc.sRelations, "c1 c2 c3 s3 c4 s4 s2 c5 s5 s1 ");
    EXPECT_THAT(watch.Records(), ElementsAre()); // a property that is not there leaves no trace
    EXPECT_EQ(COpdHardwareTree().DumpDeviceTree(folder / L"detail.txt", false), S_OK);
    EXPECT_EQ(ReadBytes(folder / L"detail.txt"), GoldenDump(L"DeviceTree-Detail.txt"));
}

struct CDump
{
    std::wstring sPath;
    HRESULT hr;
};
DWORD WINAPI DumpOnThisStack(void* pDump)
{
    auto& rDump = *static_cast<CDump*>(pDump);
    rDump.hr = COpdHardwareTree().DumpDeviceTree(rDump.sPath, true);
    return 0;
}

// 100,000 nodes, 1,000 levels deep, on a stack of 128 KB: a walk that recursed into siblings would fault. Each node's
// relations are asked for once, so that the time grows with the nodes and not with their depth; the search for a
// driver key too asks each only once, and believes no relation that is no node.
TEST(HardwareTree, StandsDeepAndBroadTrees)
{
    constexpr std::size_t Levels = 1000, Nodes = 100'000;
    CFakePcDevices pc;
    const CFakeNode node{ .Properties = { { CM_DRP_DRIVER, FakeText(L"{a}\\0001") } } };
    DEVINST hNode = pc.Add(0, node);
    for (std::size_t n = 1; n < Levels; ++n)
        hNode = pc.Add(hNode, node);
    for (std::size_t n = Levels; n < Nodes; ++n)
        pc.Add(1, node);
    const CTestFolder folder;
    CDump dump{ folder / L"tree.txt", E_PENDING };
    const CLogWatch watch;
    const CKernelHandle hThread(
        ::CreateThread(nullptr, 128 * 1024, DumpOnThisStack, &dump, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
    ::WaitForSingleObject(hThread.Get(), INFINITE);
    EXPECT_EQ(dump.hr, S_OK);
    EXPECT_EQ(std::ranges::count(pc.sRelations, 'c'), std::ptrdiff_t{ Nodes });
    EXPECT_EQ(std::ranges::count(pc.sRelations, 's'), std::ptrdiff_t{ Nodes });
    // Six blanks a level and "+ ": what is longer than 2,047 characters is refused, and said so.
    const auto nRefused = static_cast<std::size_t>(Levels - (2047 - 2) / 6 - 1);
    EXPECT_EQ(watch.Records().size(), nRefused);
    const std::string sTree = ReadBytes(dump.sPath);
    EXPECT_EQ(std::ranges::count(sTree, '\n'), static_cast<std::ptrdiff_t>(Nodes - nRefused));
    EXPECT_TRUE(sTree.ends_with("\r\n      + \r\n      + \r\n"));

    pc.sRelations.clear();
    std::wstring sText;
    EXPECT_EQ(COpdCmApi::GetDeviceDescByDriverKeyName(L"{a}\\0002", sText), E_FAIL);
    EXPECT_LE(std::ranges::count(pc.sRelations, ' '), static_cast<std::ptrdiff_t>(2 * Nodes + Levels + 1));
    pc.bRelationsUntouched = true;
    EXPECT_EQ(COpdCmApi::GetDeviceDescByDriverKeyName(L"{a}\\0002", sText), E_FAIL);
    EXPECT_EQ(COpdHardwareTree().DumpDeviceTree(folder / L"one.txt", true), S_OK);
    EXPECT_EQ(ReadBytes(folder / L"one.txt"), "+ \r\n");
}

// A list of the wrong class or with what has gone would mislead its reader; a failed set costs its own file only.
TEST(HardwareList, IsWrittenForAllPresentAndEachClass)
{
    CFakePcDevices pc;
    AddSamplePc(pc);
    const CImportPatch<decltype(FixedTime)> time("GetLocalTime", FixedTime);
    const CTestFolder folder;
    COpdHardwareList list;
    EXPECT_EQ(list.DumpAllDeviceList(folder / L"all.txt"), S_OK);
    EXPECT_EQ(ReadBytes(folder / L"all.txt"), GoldenDump(L"DeviceList-All.txt"));
    EXPECT_EQ(list.DumpCurrentDeviceList(folder / L"present.txt"), S_OK);
    EXPECT_EQ(ReadBytes(folder / L"present.txt"), GoldenDump(L"DeviceList-Present.txt"));
    EXPECT_THAT(pc.SetFlags, ElementsAre(4, 6));

    const CTestFolder classes;
    EXPECT_EQ(list.DumpIndividualDeviceList(classes.Path()), S_OK);
    std::vector<std::wstring> Names;
    ASSERT_EQ(COpdFileHelper::FindFiles(classes / L"*.txt", Names), S_OK);
    EXPECT_THAT(Names, UnorderedElementsAre(L"GUID_DEVINTERFACE_DISK.txt", L"GUID_DEVINTERFACE_DISK(PRESENT).txt",
                                            L"GUID_DEVINTERFACE_CDROM.txt"));
    EXPECT_EQ(ReadBytes(classes / L"GUID_DEVINTERFACE_CDROM.txt"), GoldenDump(L"GUID_DEVINTERFACE_CDROM.txt"));
    EXPECT_EQ(ReadBytes(classes / L"GUID_DEVINTERFACE_DISK.txt"), GoldenDump(L"GUID_DEVINTERFACE_DISK.txt"));
    pc.dwSetError = ERROR_ACCESS_DENIED;
    EXPECT_EQ(list.DumpAllDeviceList(folder / L"all.txt"), E_ACCESSDENIED);
    EXPECT_EQ(std::ranges::count(ReadBytes(folder / L"all.txt"), '\n'), 3);
    EXPECT_EQ(pc.OpenSets(), 0u);
}

} // namespace
