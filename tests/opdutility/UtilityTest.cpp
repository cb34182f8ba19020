// Files, child processes and loaded drivers.
#include <gmock/gmock.h>

#include "opdutility/OpdDriverInfo.h"
#include "opdutility/OpdExecFile.h"
#include "opdutility/OpdFileHelper.h"
#include "platform/Handle.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

#include <psapi.h>

namespace
{

// A lost quote starts another program; a child's own code must come through as it is.
TEST(ExecFile, RunsAProgramAndGivesItsExitCode)
{
    const CTestFolder folder;
    const std::wstring sProgram = folder.Write(L"a b\\c d.exe", ReadBytes(L"C:\\windows\\system32\\cmd.exe"));
    DWORD dwExitCode = 99;
    EXPECT_EQ(COpdExecFile::Execute(sProgram, L"/c exit 259", &dwExitCode), S_OK);
    EXPECT_EQ(dwExitCode, 259u);

    const CLogWatch watch;
    EXPECT_EQ(COpdExecFile::Execute(folder / L"no such.exe", L"", &dwExitCode), static_cast<HRESULT>(0x80070002));
    EXPECT_EQ(COpdExecFile::Execute(L"", L"/c", &dwExitCode), E_INVALIDARG);
    EXPECT_EQ(dwExitCode, 259u);
    EXPECT_THAT(watch.Records(), testing::ElementsAre("[COpdExecFile::Execute] ::CreateProcess( \"" +
                                                          Utf8(folder / L"no such.exe") + "\"  ) failed. [0x80070002]",
                                                      "[COpdExecFile::Execute] rcsFileName == empty"));
}

// One driver without a name must not hide the others, and drivers that come or go between the calls must not crash.
TEST(DriverInfo, ListsTheDriversThatHaveNames)
{
    DWORD aBytes[2]{}; // that the first and the second call tell
    const auto drivers = FakeImport<decltype(::EnumDeviceDrivers)>(
        "K32EnumDeviceDrivers", [&](auto pAddresses, DWORD dwCapacity, auto pdwNeeded) {
            *pdwNeeded = aBytes[pAddresses == nullptr ? 0 : 1];
            for (DWORD n = 0; pAddresses != nullptr && n < std::min(dwCapacity, *pdwNeeded) / 4; ++n)
                pAddresses[n] = reinterpret_cast<void*>(n);
            return *pdwNeeded != 99;
        });
    // The names of drivers 1 and 2 fail.
    const auto fileName = FakeImport<decltype(::GetDeviceDriverFileNameW)>(
        "K32GetDeviceDriverFileNameW", [](auto pAddress, auto pName, auto) {
            const auto n = reinterpret_cast<DWORD>(pAddress);
            return n == 1 ? 0 : ::wsprintfW(pName, L"\\??\\C:\\d%u.sys", n);
        });
    const auto baseName = FakeImport<decltype(::GetDeviceDriverBaseNameW)>(
        "K32GetDeviceDriverBaseNameW", [](auto pAddress, auto pName, auto) {
            const auto n = reinterpret_cast<DWORD>(pAddress);
            return n == 2 ? 0 : ::wsprintfW(pName, L"d%u.sys", n);
        });
    const std::tuple<DWORD, DWORD, std::wstring> aCases[] = {
        { 16, 16, L"S_OK d0.sys d3.sys" },
        { 4, 16, L"S_OK d0.sys" },
        { 16, 4, L"S_OK d0.sys" },
        { 0, 0, L"E_FAIL" },
        { 8, 99, L"E_FAIL" },
    };
    for (const auto& [dwFirst, dwSecond, sExpected] : aCases)
    {
        aBytes[0] = dwFirst;
        aBytes[1] = dwSecond;
        std::vector<COpdDriverInfo::CDriver> List;
        std::wstring sListed = COpdDriverInfo::GetLoadedDeviceDrivers(List) == S_OK ? L"S_OK" : L"E_FAIL";
        for (const auto& rDriver : List)
            sListed += L' ' + rDriver.sBaseName;
        EXPECT_EQ(Utf8(sListed), Utf8(sExpected));
    }
}

// Comparisons of paths rest on this form; a path that resolves above its root must be refused.
TEST(FileHelper, MakesPathsAbsolute)
{
    wchar_t aCurrent[MAX_PATH];
    ::GetCurrentDirectoryW(MAX_PATH, aCurrent);
    const std::wstring sCurrent = ::_wcslwr(aCurrent);
    const std::wstring sLong(300, L'n');
    const std::pair<std::wstring, std::wstring> aCases[] = {
        { L"C:\\A\\.\\B\\..\\C.TXT", L"c:\\a\\c.txt" },
        { L"C:/a//b", L"c:\\a\\b" },
        { L"\\\\?\\C:\\a\\..\\b", L"\\\\?\\c:\\b" },
        { L"c:\\a\\b\\c\\..\\..\\d", L"c:\\a\\d" },
        { L"c:\\a\\..", L"c:\\a\\.." },
        { L"C:\\" + sLong + L"\\..\\" + sLong, L"c:\\" + sLong },
        { L"Name", sCurrent + L"\\name" },
        { L"\\\\Server\\Share", sCurrent + L"\\server\\share" },
        { L"", sCurrent + L"\\" },
        { L"c:\\..\\A", L"refused" },
        { L"c:\\a\\..\\..\\b", L"refused" },
    };
    for (const auto& [sPath, sExpected] : aCases)
    {
        std::wstring sAbsolute = L"refused";
        EXPECT_EQ(COpdFileHelper::GetAbsolutePath(sPath, sAbsolute), sExpected == L"refused" ? E_FAIL : S_OK);
        EXPECT_EQ(Utf8(sAbsolute), Utf8(sExpected));
    }
}

// Files in use are the interesting ones; the size has 32 bits in every report.
TEST(FileHelper, AsksAboutFilesThatOthersHold)
{
    const CTestFolder folder;
    const CFileHandle hFile(
        ::CreateFileW((folder / L"held").c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    LARGE_INTEGER Size;
    Size.QuadPart = 0x100000005;
    const FILETIME Given{ 0x12345680, 0x01D00000 };
    ASSERT_TRUE(::SetFilePointerEx(hFile.Get(), Size, nullptr, FILE_BEGIN) && ::SetEndOfFile(hFile.Get()) &&
                ::SetFileTime(hFile.Get(), nullptr, nullptr, &Given));
    ULONGLONG ullSize = 0;
    std::wstring sCreation, sAccess, sWrite;
    EXPECT_EQ(COpdFileHelper::GetFileInfo(folder / L"held", sCreation, sAccess, sWrite, ullSize), S_OK);
    EXPECT_EQ(ullSize, 5u);
    EXPECT_THAT(Utf8(sWrite), testing::MatchesRegex("2014/11/1\\d \\d\\d:\\d\\d:\\d\\d"));
}

} // namespace
