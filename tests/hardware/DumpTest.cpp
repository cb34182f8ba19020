#include <gmock/gmock.h>

#include <algorithm>

#include "hardware/OpdCmApi.h"
#include "hardware/OpdHardwareList.h"
#include "hardware/OpdHardwareTree.h"
#include "hardware/SamplePc.h"
#include "opdutility/OpdFileHelper.h"
#include "support/Golden.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"

namespace
{

using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

void WINAPI FixedTime(SYSTEMTIME* pTime)
{
    *pTime = { 2024, 2, 6, 3, 4, 5, 6, 7 };
}

// People and scripts read these files column by column. What a node does not tell right costs its own row only; that it
// has no such property leaves no trace at all.
TEST(HardwareTree, IsWrittenInBriefAndInDetail)
{
    CFakePcDevices pc;
    AddSamplePc(pc);
    const CTestFolder folder;
    const CLogWatch watch;
    EXPECT_EQ(COpdHardwareTree().DumpDeviceTree(folder / L"brief.txt"), S_OK);
    EXPECT_EQ(ReadBytes(folder / L"brief.txt"), GoldenDump(L"DeviceTree.txt"));
    // Parents first, children before siblings, and the sibling asked for when the children are done.
    EXPECT_EQ(pc.sRelations, "c1 c2 c3 s3 c4 s4 s2 c5 s5 c6 s6 c7 s7 s1 ");
    EXPECT_THAT(watch.Records(), IsEmpty());
    EXPECT_EQ(COpdHardwareTree().DumpDeviceTree(folder / L"detail.txt", false), S_OK);
    EXPECT_EQ(ReadBytes(folder / L"detail.txt"), GoldenDump(L"DeviceTree-Detail.txt"));
    ExpectGolden(L"hardware\\DeviceTree.log", Joined(watch.Records()), L"");
}

// 100,000 nodes, 1,000 levels deep: a walk that recursed into siblings would fault. Each node's relations are asked for
// once, so that the time grows with the nodes and not with their depth; the search for a driver key too asks each only
// once, and believes no relation that is no node.
TEST(HardwareTree, StandsDeepAndBroadTrees)
{
    constexpr std::size_t Levels = 1000, Nodes = 100'000;
    CFakePcDevices pc;
    const CFakeNode node{ .Properties = { { CM_DRP_DRIVER, FakeText(L"{a}\\0001") } } };
    for (std::size_t n = 0; n < Nodes; ++n)
        pc.Add(n < Levels ? n : 1, node);
    const CTestFolder folder;
    const CLogWatch watch;
    EXPECT_EQ(COpdHardwareTree().DumpDeviceTree(folder / L"tree.txt"), S_OK);
    EXPECT_EQ(std::ranges::count(pc.sRelations, 'c'), std::ptrdiff_t{ Nodes });
    EXPECT_EQ(std::ranges::count(pc.sRelations, 's'), std::ptrdiff_t{ Nodes });
    // Six blanks a level and "+ ": what is longer than 2,047 characters is refused, and said so.
    const auto nRefused = static_cast<std::size_t>(Levels - (2047 - 2) / 6 - 1);
    EXPECT_EQ(watch.Records().size(), nRefused);
    const std::string sTree = ReadBytes(folder / L"tree.txt");
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

// A list of the wrong class or with what has gone would mislead its reader.
TEST(HardwareList, IsWrittenForAllPresentAndEachClass)
{
    CFakePcDevices pc;
    AddSamplePc(pc);
    const CImportPatch<decltype(FixedTime)> time("GetLocalTime", FixedTime);
    const CTestFolder folder;
    const CLogWatch watch;
    COpdHardwareList list;
    EXPECT_EQ(list.DumpAllDeviceList(folder / L"all"), S_OK);
    EXPECT_EQ(ReadBytes(folder / L"all"), GoldenDump(L"DeviceList-All.txt"));
    ExpectGolden(L"hardware\\DeviceList.log", Joined(watch.Records()), L"");
    EXPECT_EQ(list.DumpCurrentDeviceList(folder / L"present"), S_OK);
    EXPECT_EQ(ReadBytes(folder / L"present"), GoldenDump(L"DeviceList-Present.txt"));
    EXPECT_EQ(list.DumpIndividualDeviceList(folder.Path()), S_OK);
    std::vector<std::wstring> Names;
    EXPECT_EQ(COpdFileHelper::FindFiles(folder / L"*.txt", Names), S_OK);
    EXPECT_THAT(Names, UnorderedElementsAre(L"GUID_DEVINTERFACE_DISK.txt", L"GUID_DEVINTERFACE_DISK(PRESENT).txt",
                                            L"GUID_DEVINTERFACE_CDROM.txt"));
    for (const wchar_t* const pName : { L"GUID_DEVINTERFACE_DISK.txt", L"GUID_DEVINTERFACE_CDROM.txt" })
        EXPECT_EQ(ReadBytes(folder / pName), GoldenDump(pName));
    EXPECT_EQ(pc.OpenSets(), 0u);
}

} // namespace
