#include <gmock/gmock.h>

#include <algorithm>

#include "hardware/OpdCmApi.h"
#include "hardware/OpdHardwareList.h"
#include "hardware/OpdHardwareTree.h"
#include "support/FakePcDevices.h"
#include "support/Golden.h"
#include "support/ImportPatch.h"

namespace
{

// People and scripts read these files column by column. What a node does not tell right costs its own row only; that it
// has no such property leaves no trace at all.
TEST(HardwareTree, IsWrittenInBriefAndInDetail)
{
    CFakePcDevices pc;
    pc.Describe(TEST_DATA L"\\hardware\\SamplePc.txt");
    const CTestFolder folder;
    const CLogWatch watch;
    EXPECT_EQ(COpdHardwareTree().DumpDeviceTree(folder / L"brief.txt"), S_OK);
    // Parents first, children before siblings, and the sibling asked for when the children are done.
    EXPECT_EQ(pc.sRelations, "c1 c2 c3 s3 c4 s4 s2 c5 s5 c6 s6 c7 s7 s1 ");
    EXPECT_EQ(COpdHardwareTree().DumpDeviceTree(folder / L"detail.txt", false), S_OK);
    ExpectGolden(L"hardware\\DeviceTrees.txt", Outcome(folder.Path(), watch), L"");
}

// 100,000 nodes, 1,000 levels deep: a walk that recursed into siblings would fault. Each node's relations are asked for
// once, so that the time grows with the nodes and not with their depth; the search for a driver key too asks each only
// once, and believes no relation that is no node.
TEST(HardwareTree, StandsDeepAndBroadTrees)
{
    constexpr std::size_t Levels = 1000, Nodes = 100'000;
    CFakePcDevices pc;
    for (std::size_t n = 0; n < Nodes; ++n)
        pc.Add(n < Levels ? n : 1, { .Properties = { { CM_DRP_DRIVER, FakeText(L"{a}\\0001") } } });
    const CTestFolder folder;
    const CLogWatch watch;
    EXPECT_EQ(COpdHardwareTree().DumpDeviceTree(folder / L"tree.txt"), S_OK);
    EXPECT_EQ(std::ranges::count(pc.sRelations, ' '), std::ptrdiff_t{ 2 * Nodes });
    // Six blanks a level and "+ ": what is longer than 2,047 characters is refused, and said so.
    const auto nRefused = static_cast<std::size_t>(Levels - (2047 - 2) / 6 - 1);
    EXPECT_EQ(watch.Records().size(), nRefused);
    const std::string sTree = ReadBytes(folder / L"tree.txt");
    EXPECT_EQ(std::ranges::count(sTree, '\n'), static_cast<std::ptrdiff_t>(Nodes - nRefused));

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
    pc.Describe(TEST_DATA L"\\hardware\\SamplePc.txt");
    const auto time = FakeImport<decltype(::GetLocalTime)>(
        "GetLocalTime", [](SYSTEMTIME* pTime) { *pTime = { 2024, 2, 6, 3, 4, 5, 6, 7 }; });
    const CTestFolder folder;
    const CLogWatch watch;
    COpdHardwareList list;
    EXPECT_EQ(list.DumpAllDeviceList(folder / L"all.txt"), S_OK);
    EXPECT_EQ(list.DumpCurrentDeviceList(folder / L"present.txt"), S_OK);
    EXPECT_EQ(list.DumpIndividualDeviceList(folder.Path()), S_OK);
    ExpectGolden(L"hardware\\DeviceLists.txt", Outcome(folder.Path(), watch), L"");
    EXPECT_EQ(pc.OpenSets(), 0u);
}

} // namespace
