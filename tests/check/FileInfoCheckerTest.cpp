#include "check/FileInfoChecker.h"

#include "check/Base64.h"
#include "check/CheckRun.h"
#include "platform/AnsiText.h"
#include "platform/Format.h"
#include "platform/Path.h"

namespace
{

CCheckRun Check(const std::vector<CFileInfo>& rInfos)
{
    return RunCheck(
        [&](CResultLog& rLog, UINT32* pulFailed) { return CFileInfoChecker(rLog, rInfos).CheckFileInfos(pulFailed); });
}

// The only line of one record in the code page of the result file; "+" before it when the record was not counted.
std::string Verdict(const CFileInfo& rInfo)
{
    const CCheckRun run = Check({ rInfo });
    EXPECT_EQ(run.hr, S_OK);
    EXPECT_EQ(run.Lines.size(), 1u);
    return (run.nFailed == 0 ? "+" : "") + (run.Lines.empty() ? "" : run.Lines[0]);
}

std::string Passed(const std::wstring& sPath)
{
    return "+Succeeded: Check File Info \"" + ToNarrow(sPath) + '"';
}

std::string HashFailed(const std::wstring& sPath)
{
    return "Failed: File hash is not equal. [FilePath:\"" + ToNarrow(sPath) + "\"]";
}

// SHA-1 of "abc".
constexpr const wchar_t* AbcDigest = L"qZk+NkcGgWq6PiVxeFDCbJzQ2J0=";

// Support desks search the result file for these lines; the tests run in this order and stop at the first that fails.
TEST(FileInfoChecker, WritesOneLineForEachOutcome)
{
    const CTestFolder folder;
    const std::wstring sAbc = folder.Write(L"abc %s.txt", "abc"), sEmpty = folder.Write(L"empty", ""),
                       sExe = ModulePath();
    const std::wstring sGone = folder / L"gone";
    const std::string A = Utf8(sAbc), E = Utf8(sExe);
    const struct
    {
        CFileInfo Info; // path, version, size, digest, signer
        std::string sExpected;
        // clang-format off
    } aCases[] = {
        { { sGone, L"1", L"1", L"1", L"1" }, "Failed: File is not found.\"" + Utf8(sGone) + '"' },
        { { sAbc, L"", L"", L"", L"" }, Passed(sAbc) },
        { { sAbc, L"", L"3", AbcDigest, L"" }, Passed(sAbc) },
        { { folder.Path(), L"", L"", L"", L"" }, Passed(folder.Path()) },
        { { folder.Path(), L"", L"0", L"", L"" }, "Failed: GetFileSize( \"" + Utf8(folder.Path()) + "\" ) failed.[0x80070005]" },
        { { sEmpty, L"", L"0", L"2jmj7l5rSw0yVb/vlWAYkK/YBwk=", L"" }, Passed(sEmpty) },
        { { sAbc, L"1.0.0.0", L"4", L"bad", L"" }, "Failed: GetFileVersion( \"" + A + "\" ) failed.[0x80070714]" },
        { { sExe, L"1.0.0.0", L"", L"", L"" }, Passed(sExe) },
        { { sExe, L"1.0.0.01", L"1", L"", L"" }, "Failed: File version is not equal. [current:1.0.0.0, original:1.0.0.01] [FilePath:\"" + E + "\"]" },
        { { sAbc, L"", L"03", L"bad", L"Nobody" }, "Failed: File size is not equal. [current:3, original:03] [FilePath:\"" + A + "\"]" },
        { { sAbc, L"", L"3", L"bad", L"Nobody" }, "Failed: GetCertificateSubjectName( \"" + A + "\" ) failed.[0x80092009]" },
        { { sAbc, L"", L"", L"qZk+Nkc\nGgWq6PiVx\r\neFDCbJz Q2J0", L"" }, Passed(sAbc) },
        { { sAbc, L"", L"", L"rZk+NkcGgWq6PiVxeFDCbJzQ2J0=", L"" }, HashFailed(sAbc) },
        { { sAbc, L"", L"", L"qZk+NkcGgWq6PiVxeFDCbJzQ2A==", L"" }, HashFailed(sAbc) },     // 19 bytes
        { { sAbc, L"", L"", L"qZk+NkcGgWq6PiVxeFDCbJzQ2J0A", L"" }, HashFailed(sAbc) },     // 21 bytes
        { { sEmpty, L"", L"", AbcDigest, L"" }, HashFailed(sEmpty) },
    };
    // clang-format on
    for (const auto& rCase : aCases)
        EXPECT_EQ(Verdict(rCase.Info), rCase.sExpected);
}

// Versions of module files: the whole path chooses the reader, the words are signed, short files are refused.
TEST(FileInfoChecker, ReadsTheVersionsOfModuleFiles)
{
    const CTestFolder folder;
    const std::string sHeader("\x11\x22\x02\x00\x07\x00\xFF\xFF\x01\x00\x05\x00\x06\x00\x00\x80", 16);
    for (const wchar_t* pName : { L"a.tvm", L"INIT.TVM", L"DEVICE.TVL" })
        folder.Write(pName, sHeader);
    const std::wstring sShort = folder.Write(L"short.TVM", sHeader.substr(0, 9)), sFull = folder / L"INIT.TVM",
                       sDevice = folder / L"DEVICE.TVL";
    wchar_t aOld[MAX_PATH];
    ::GetCurrentDirectoryW(MAX_PATH, aOld);
    ::SetCurrentDirectoryW(folder.Path().c_str());
    EXPECT_EQ(Verdict({ L"a.tvm", L"7.2.1.-1", L"", L"", L"" }), Passed(L"a.tvm"));
    EXPECT_EQ(Verdict({ sFull, L"7.2.1.-1", L"", L"", L"" }), Passed(sFull));
    EXPECT_EQ(Verdict({ L"init.tvm", L"1", L"", L"", L"" }),
              "Failed: File version is not equal. [current:1280.511.0.1536, original:1] [FilePath:\"init.tvm\"]");
    EXPECT_EQ(Verdict({ L"Device.tvl", L"VERSION:1792, ALGORITHM:512", L"", L"", L"" }), Passed(L"Device.tvl"));
    EXPECT_EQ(Verdict({ sDevice, L"1", L"", L"", L"" }),
              "Failed: GetFileVersion( \"" + Utf8(sDevice) + "\" ) failed.[0x80070714]");
    EXPECT_EQ(Verdict({ sShort, L"1", L"", L"", L"" }),
              "Failed: GetTvmFileVersion( \"" + Utf8(sShort) + "\" ) failed.[0x80004005]");
    ::SetCurrentDirectoryW(aOld);
}

// A library that does not load leaves its line and no other, and has never counted.
TEST(FileInfoChecker, ReportsAFailedLoadWithoutCountingIt)
{
    const CTestFolder folder;
    for (const wchar_t* pName : { L"MSVCmfcATL.Dll", L"atlmfcmsvc.ax" })
    {
        const std::wstring sPath = folder.Write(pName, "no library");
        EXPECT_EQ(Verdict({ sPath, L"", L"10", L"bad", L"Nobody" }),
                  "+Failed: LoadLibraryEx( \"" + Utf8(sPath) + "\" ) failed.[193]");
    }
    const std::wstring sGood = folder / L"atl mfc msvc.dll";
    ::CopyFileW(L"C:\\windows\\system32\\version.dll", sGood.c_str(), TRUE);
    EXPECT_EQ(Verdict({ sGood, L"", L"", L"", L"" }), Passed(sGood));
    EXPECT_EQ(::GetModuleHandleW(sGood.c_str()), nullptr) << "it stays loaded";
}

// Headers without a program and a signature by a self-signed certificate for the name "Tolvane T\u00E4st".
std::string SignedFile()
{
    std::string sBytes(4096, '\0');
    sBytes.resize(Base64Decode(ReadBytes(TEST_DATA L"/SignedFile.txt"),
                               { reinterpret_cast<BYTE*>(sBytes.data()), sBytes.size() }));
    return sBytes;
}

// The signer's name is what tells a replaced file; case does not count.
TEST(FileInfoChecker, ComparesTheSigner)
{
    const CTestFolder folder;
    const std::wstring sPath = folder.Write(L"signed.exe", SignedFile());
    EXPECT_EQ(Verdict({ sPath, L"", L"", L"", L"TOLVANE t\u00E4st" }), Passed(sPath));
    EXPECT_EQ(Verdict({ sPath, L"", L"", L"bad", L"Other" }),
              ToNarrow(L"Failed: Certificate Display Name is not equal. [current:\"Tolvane T\u00E4st\", "
                       L"original:\"Other\"] [FilePath:\"" +
                       sPath + L"\"]"));
}

// Real disks hold names that no code page has, files larger than the read buffer and files above 4 GiB.
TEST(FileInfoChecker, StandsUnusualFiles)
{
    const CTestFolder folder;
    const std::wstring sForeign = folder.Write(L"\u65E5\u672C\u0E01 \u00FC.txt", "abc");
    EXPECT_EQ(Verdict({ sForeign, L"", L"3", AbcDigest, L"" }), Passed(sForeign));
    const std::wstring sLarge = folder.Write(L"large", std::string(1'000'000, 'a'));
    EXPECT_EQ(Verdict({ sLarge, L"", L"1000000", L"NKqXPNTE2qT2Husr260nMWU0AW8=", L"" }), Passed(sLarge));

    const std::wstring sHuge = folder.Write(L"huge", "");
    {
        const CFileHandle hHuge(::CreateFileW(sHuge.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        LARGE_INTEGER Size;
        Size.QuadPart = 5'000'000'001;
        ASSERT_TRUE(::SetFilePointerEx(hHuge.Get(), Size, nullptr, FILE_BEGIN) && ::SetEndOfFile(hHuge.Get()));
    }
    EXPECT_EQ(Verdict({ sHuge, L"", L"5000000001", L"", L"" }), Passed(sHuge));
    EXPECT_EQ(Verdict({ sHuge, L"", L"705032705", L"", L"" }),
              "Failed: File size is not equal. [current:5000000001, original:705032705] [FilePath:\"" + Utf8(sHuge) +
                  "\"]");
}

} // namespace
