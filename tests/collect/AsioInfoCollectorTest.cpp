#include "collect/AsioInfoCollector.h"

#include <gtest/gtest.h>

#include "collect/CollectorUtilFakes.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

// A driver has a row only when its whole registration holds; a damaged one must not cost the next.
TEST(AsioInfoCollector, ListsTheDriversThatCanBeFound)
{
    const CTestFolder folder;
    const std::wstring sDll = folder.Write(L"asio d.dll", "12345");
    const CFakeFileTimes times;
    CFakeVersions versions;
    versions.Files[L"asio d.dll"] = VersionBlock({ { 0x0409, { { L"FileVersion", L"1, 2" } } } });
    const std::wstring sClasses = L"Classes\\CLSID\\{6B3D1F20-9C1A-4E57-8F11-2233445566";
    const CScratchKey class1(sClasses + L"01}"), server1(sClasses + L"01}\\InprocServer32");
    const CScratchKey class2(sClasses + L"02}"), server2(sClasses + L"02}\\InprocServer32");
    const CScratchKey class3(sClasses + L"03}"), server3(sClasses + L"03}\\InprocServer32");
    server1.SetText(L"", sDll);
    server2.SetText(L"", folder / L"gone.dll");
    const std::wstring sClsid = L"{6B3D1F20-9C1A-4E57-8F11-2233445566";

    CFakeRoots roots;
    const auto Driver = [&](const wchar_t* pName, const std::wstring& sId) {
        roots.Machine(std::wstring(L"SOFTWARE\\ASIO\\") + pName).SetText(L"CLSID", sId);
    };
    Driver(L"a", sClsid + L"01}");
    roots.Machine(L"SOFTWARE\\ASIO\\b").SetText(L"Description", L"no class");
    Driver(L"c", sClsid + L"02}");
    Driver(L"d", sClsid + L"03}");
    Driver(L"e", L"{none}");
    const CScratchKey& full = roots.Machine(L"SOFTWARE\\ASIO\\f \"x\"");
    full.SetText(L"CLSID", sClsid + L"01}");
    full.SetText(L"Description", L"the one");
    const std::wstring sOut = folder / L"out";
    const CLogWatch watch;
    roots.Enter();
    EXPECT_EQ(CAsioInfoCollector().Collect(sOut), S_OK);
    ExpectGolden(ReadBytes(sOut + L"\\ASIO.csv"), L"ASIO.csv", folder.Path());
    ExpectGolden(watch.Records(), L"ASIO.log", folder.Path());
}

} // namespace
