// The installed DirectX version, by both ways.
#include "collect/CollectorUtil.h"

#include <gmock/gmock.h>

#include "collect/CollectorUtilFakes.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

HRESULT WINAPI NoObject(REFCLSID, LPUNKNOWN, DWORD, REFIID, LPVOID* ppObject)
{
    *ppObject = nullptr;
    return REGDB_E_CLASSNOTREG;
}
UINT WINAPI NoSystemFolder(LPWSTR, UINT)
{
    ::SetLastError(ERROR_ACCESS_DENIED);
    return 0;
}

struct CResult
{
    HRESULT hr;
    DWORD dwVersion;
    std::string sVersion;
    bool operator==(const CResult&) const = default;
};
void PrintTo(const CResult& rResult, std::ostream* pStream)
{
    *pStream << std::hex << rResult.hr << ' ' << rResult.dwVersion << ' ' << rResult.sVersion;
}
CResult Version()
{
    CResult result{ 0, 4711, "" };
    std::wstring sVersion;
    result.hr = CCollectorUtil::GetDXVersion(result.dwVersion, sVersion);
    result.sVersion = Utf8(sVersion);
    return result;
}

// Without the diagnostics the files tell: a wrong threshold or order shows a version that the PC does not have.
TEST(CollectorUtilDirectX, IsReadFromTheFilesWhereTheDiagnosticsFail)
{
    const CImportPatch<decltype(NoObject)> patch("CoCreateInstance", NoObject);
    const auto V = [](DWORD a, DWORD b, DWORD c, DWORD d) { return VersionBlock(a << 16 | b, c << 16 | d); };
    const struct
    {
        std::map<std::wstring, std::vector<BYTE>> Files;
        DWORD dwVersion;
        const char* pVersion;
    } aCases[] = {
        { {}, 0, "0.0" },
        { { { L"ddraw.dll", V(4, 2, 0, 94) } }, 0, "0.0" },
        { { { L"ddraw.dll", V(4, 2, 0, 95) } }, 0x010000, "1.0" },
        { { { L"ddraw.dll", V(4, 4, 0, 67) } }, 0x020000, "2.0" },
        { { { L"ddraw.dll", V(4, 4, 0, 68) }, { L"d3drg8x.dll", V(4, 4, 0, 70) } }, 0x030001, "3.0a" },
        { { { L"ddraw.dll", V(4, 5, 0, 155) }, { L"d3drg8x.dll", V(4, 4, 0, 70) } }, 0x060000, "6.0" },
        { { { L"ddraw.dll", V(4, 6, 0, 436) }, { L"dplayx.dll", V(4, 6, 3, 518) } }, 0x060101, "6.1a" },
        { { { L"ddraw.dll", V(4, 7, 0, 700) }, { L"dinput.dll", V(4, 7, 0, 716) } }, 0x070001, "7.0a" },
        { { { L"ddraw.dll", V(4, 8, 0, 399) } }, 0x070000, "7.0" },
        { { { L"ddraw.dll", V(4, 9, 0, 0) } }, 0x080000, "8.0" },
        { { { L"ddraw.dll", V(5, 1, 2258, 399) } }, 0x070000, "7.0" },
        { { { L"ddraw.dll", V(5, 3, 2600, 0) } }, 0x080000, "8.0" },
        { { { L"ddraw.dll", V(6, 1, 7600, 0) } }, 0x070000, "7.0" }, // of neither major number
        { { { L"d3d8.dll", V(4, 8, 1, 881) } }, 0x080100, "8.1" },
        { { { L"d3d8.dll", V(5, 1, 2600, 901) } }, 0x080101, "8.1a" },
        { { { L"d3d8.dll", V(4, 8, 1, 901) }, { L"mpg2splt.ax", V(6, 3, 1, 885) } }, 0x080102, "8.1b" },
        { { { L"dpnet.dll", V(4, 9, 0, 134) } }, 0x080200, "8.2" },
        { { { L"dpnet.dll", V(5, 2, 3677, 133) } }, 0, "0.0" },
        { { { L"dpnet.dll", V(5, 2, 3677, 134) }, { L"d3d9.dll", V(0, 0, 0, 0) } }, 0x090000, "9.0" },
    };
    for (const auto& rCase : aCases)
    {
        CFakeVersions versions;
        versions.Files = rCase.Files;
        EXPECT_EQ(Version(), (CResult{ S_OK, rCase.dwVersion, rCase.pVersion }));
        EXPECT_EQ(versions.nAsked, 8) << "each file is read once";
    }

    const CImportPatch<decltype(NoSystemFolder)> folder("GetSystemDirectoryW", NoSystemFolder);
    const CLogWatch watch;
    EXPECT_EQ(Version(), (CResult{ E_ACCESSDENIED, 0, "" }));
    ExpectGolden(watch.Records(), L"DirectX.log", L"");
}

// The properties' names and types are the platform's: a wrong one leads to the files and to another version.
TEST(CollectorUtilDirectX, IsReadFromTheDiagnostics)
{
    const CFakeVersions noFiles;
    const CLogWatch watch;
    EXPECT_EQ(Version(), (CResult{ S_OK, 0x090003, "9.0c" }));
    EXPECT_THAT(watch.Records(), ::testing::IsEmpty());
}

} // namespace
