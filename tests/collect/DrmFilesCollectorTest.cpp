#include "collect/DrmFilesCollector.h"

#include <gtest/gtest.h>

#include "collect/FakeProduct.h"
#include "support/TestFolder.h"

namespace
{

const std::wstring Old1 = L"windows.old\\Program Files (x86)\\Common Files\\Tolvane Shared\\Velmora\\";
const std::wstring Old4 =
    L"windows.old\\Documents and Settings\\All Users\\Tolvane Corporation\\Velmora\\Windows.old\\Program Files\\";

// Old installations must land in the folder of their number; a second run brings what has changed.
TEST(DrmFilesCollector, CopiesFilesAndFoldersOfEachRoot)
{
    const CTestFolder folder;
    const CFakeShellFolders shell(
        { { CSIDL_WINDOWS, folder / L"windows" }, { CSIDL_COMMON_APPDATA, folder / L"common" } });
    const std::pair<std::wstring, std::wstring> aFiles[] = {
        { L"repository\\vlmkey", L"vlmkey" },
        { L"repository\\tarnlist0.dat", L"tarnlist0.dat" },
        { L"repository\\tarnlist1.dat", L"tarnlist1.dat" },
        { L"repository\\brenn\\deep\\file", L"brenn\\deep\\file" },
        { Old1 + L"procfile", L"1\\procfile" },
        { Old4 + L"orvel7.dat", L"4\\orvel7.dat" },
        { L"common\\Tolvane Corporation\\Velmora_Sound Atrium\\checkout\\c", L"common\\checkout\\c" },
    };
    folder.Write(L"repository\\other.dat", "");
    for (const std::string sBytes : { "first", "second" })
    {
        for (const auto& [sSource, sTarget] : aFiles)
            folder.Write(sSource, sBytes + Utf8(sSource));
        EXPECT_EQ(CDrmFilesCollector().Collect(folder / L"repository", folder / L"out", true), S_OK);
        for (const auto& [sSource, sTarget] : aFiles)
            EXPECT_EQ(ReadBytes(folder / (L"out\\" + sTarget)), sBytes + Utf8(sSource));
    }
    for (const wchar_t* pName : { L"out\\other.dat", L"out\\0", L"out\\5" })
        EXPECT_EQ(::GetFileAttributesW((folder / pName).c_str()), INVALID_FILE_ATTRIBUTES) << Utf8(pName);
}

} // namespace
