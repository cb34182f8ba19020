#include "check/FileInfoChecker.h"

#include "check/Base64.h"
#include "check/CheckRun.h"
#include "platform/Handle.h"
#include "platform/Path.h"

namespace
{

// SHA-1 of "abc", of nothing, and of 1,000,000 times "a".
constexpr const wchar_t* AbcDigest = L"qZk+NkcGgWq6PiVxeFDCbJzQ2J0=";
constexpr const wchar_t* EmptyDigest = L"2jmj7l5rSw0yVb/vlWAYkK/YBwk=";
constexpr const wchar_t* LargeDigest = L"NKqXPNTE2qT2Husr260nMWU0AW8=";

// The files that the records are about.
void MakeFiles(const CTestFolder& rFolder)
{
    rFolder.Write(L"abc %s.txt", "abc");
    rFolder.Write(L"empty", "");
    rFolder.Write(L"\u65E5\u672C\u0E01 \u00FC.txt", "abc");
    rFolder.Write(L"large", std::string(1'000'000, 'a'));
    const CFileHandle hHuge(
        ::CreateFileW(rFolder.Write(L"huge", "").c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    LARGE_INTEGER Size;
    Size.QuadPart = 5'000'000'001;
    EXPECT_TRUE(::SetFilePointerEx(hHuge.Get(), Size, nullptr, FILE_BEGIN) && ::SetEndOfFile(hHuge.Get()));
    // Headers without a program and a signature by a self-signed certificate for the name "Tolvane T\u00E4st".
    std::string sSigned(4096, '\0');
    sSigned.resize(Base64Decode(ReadBytes(TEST_DATA L"/SignedFile.txt"),
                                { reinterpret_cast<BYTE*>(sSigned.data()), sSigned.size() }));
    rFolder.Write(L"signed.exe", sSigned);
    const std::string sHeader("\x11\x22\x02\x00\x07\x00\xFF\xFF\x01\x00\x05\x00\x06\x00\x00\x80", 16);
    for (const wchar_t* pName : { L"a.tvm", L"INIT.TVM", L"DEVICE.TVL" })
        rFolder.Write(pName, sHeader);
    rFolder.Write(L"short.TVM", sHeader.substr(0, 9));
    rFolder.Write(L"empty.TVM", "");
    for (const wchar_t* pName : { L"MSVCmfcATL.Dll", L"atlmfcmsvc.ax" })
        rFolder.Write(pName, "no library");
    ::CopyFileW(L"C:\\windows\\system32\\version.dll", (rFolder / L"atl mfc msvc.dll").c_str(), TRUE);
    ::CopyFileW(ModulePath().c_str(), (rFolder / L"versioned.exe").c_str(), TRUE);
}

// Support desks search the result file for these lines. The tests of a record run in this order and stop at the first
// that fails; names that no code page has, and sizes above 4 GiB, occur on real disks. A library that does not load has
// its line and no other, and has never counted.
TEST(FileInfoChecker, WritesOneLineForEachOutcome)
{
    const CTestFolder folder;
    MakeFiles(folder);
    const std::wstring D = folder.Path() + L'\\';
    const std::vector<CFileInfo> aCases = {
        // path, version, size, digest, signer
        { D + L"gone", L"1", L"1", L"1", L"1" },
        { D + L"abc %s.txt", L"", L"", L"", L"" },
        { D + L"abc %s.txt", L"", L"3", AbcDigest, L"" },
        { folder.Path(), L"", L"", L"", L"" },
        { folder.Path(), L"", L"0", L"", L"" },
        { D + L"empty", L"", L"0", EmptyDigest, L"" },
        { D + L"empty", L"", L"", AbcDigest, L"" },
        { D + L"abc %s.txt", L"1.0.0.0", L"4", L"bad", L"" },
        { D + L"versioned.exe", L"1.0.0.0", L"", L"", L"" },
        { D + L"versioned.exe", L"1.0.0.01", L"1", L"", L"" },
        { D + L"abc %s.txt", L"", L"03", L"bad", L"Nobody" },
        { D + L"abc %s.txt", L"", L"3", L"bad", L"Nobody" },
        { D + L"abc %s.txt", L"", L"", L"qZk+Nkc\nGgWq6PiVx\r\neFDCbJz Q2J0", L"" },
        { D + L"abc %s.txt", L"", L"", L"rZk+NkcGgWq6PiVxeFDCbJzQ2J0=", L"" },
        { D + L"abc %s.txt", L"", L"", L"qZk+NkcGgWq6PiVxeFDCbJzQ2A==", L"" }, // 19 bytes
        { D + L"abc %s.txt", L"", L"", L"qZk+NkcGgWq6PiVxeFDCbJzQ2J0A", L"" }, // 21 bytes
        { D + L"\u65E5\u672C\u0E01 \u00FC.txt", L"", L"3", AbcDigest, L"" },
        { D + L"large", L"", L"1000000", LargeDigest, L"" },
        { D + L"huge", L"", L"5000000001", L"", L"" },
        { D + L"huge", L"", L"705032705", L"", L"" },
        { D + L"signed.exe", L"", L"", L"", L"TOLVANE t\u00E4st" },
        { D + L"signed.exe", L"", L"", L"bad", L"Other" },
        { D + L"INIT.TVM", L"7.2.1.-1", L"", L"", L"" },
        { D + L"DEVICE.TVL", L"1", L"", L"", L"" },
        { D + L"short.TVM", L"1", L"", L"", L"" },
        { D + L"empty.TVM", L"1", L"", L"", L"" },
        { D + L"MSVCmfcATL.Dll", L"", L"10", L"bad", L"Nobody" },
        { D + L"atlmfcmsvc.ax", L"", L"10", L"bad", L"Nobody" },
        { D + L"atl mfc msvc.dll", L"", L"", L"", L"" },
        // Without a folder another reader is chosen.
        { L"a.tvm", L"7.2.1.-1", L"", L"", L"" },
        { L"init.tvm", L"1", L"", L"", L"" },
        { L"Device.tvl", L"VERSION:1792, ALGORITHM:512", L"", L"", L"" },
    };
    wchar_t aOld[MAX_PATH];
    ::GetCurrentDirectoryW(MAX_PATH, aOld);
    ::SetCurrentDirectoryW(folder.Path().c_str());
    // "count line" for each record.
    std::string sVerdicts;
    const CLogWatch watch;
    for (const CFileInfo& rInfo : aCases)
    {
        const CCheckRun run = RunCheck([&](CResultLog& rLog, UINT32* pulFailed) {
            return CFileInfoChecker(rLog, { rInfo }).CheckFileInfos(pulFailed);
        });
        EXPECT_EQ(run.hr, S_OK);
        sVerdicts += std::to_string(run.nFailed) + ' ' + Joined(run.Lines);
    }
    ::SetCurrentDirectoryW(aOld);
    ExpectGolden(L"check/Files.txt", sVerdicts, folder.Path());
    EXPECT_THAT(watch.Records(),
                ::testing::Contains("[COpdFileHelper::ReadFile] File size was 0. File:" + Utf8(D) + "empty.TVM"));
    EXPECT_EQ(::GetModuleHandleW((folder / L"atl mfc msvc.dll").c_str()), nullptr) << "it stays loaded";
}

} // namespace
