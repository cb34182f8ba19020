#include <gmock/gmock.h>

#include "log/ResultLog.h"
#include "opdutility/OpdLogFile.h"
#include "platform/Handle.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

using testing::ElementsAre;

namespace
{

// The two writers under one form.
class CPlainResultLog : public CResultLog
{
public:
    static constexpr const char* Name = "CResultLog";
    static constexpr const char* Handle = "m_File";
    HRESULT OpenPlain(const std::wstring& sPath) { return Open(sPath, false); }
};
class CPlainLogFile : public COpdLogFile
{
public:
    static constexpr const char* Name = "COpdLogFile";
    static constexpr const char* Handle = "m_cFile";
    HRESULT OpenPlain(const std::wstring& sPath) { return Open(sPath); }
};

int s_nFailingWrites;
BOOL WINAPI WriteOrFail(HANDLE hFile, LPCVOID pData, DWORD nSize, LPDWORD pnWritten, LPOVERLAPPED)
{
    static const auto s_pWriteFile = reinterpret_cast<decltype(&::WriteFile)>(reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"kernel32"), "WriteFile")));
    if (s_nFailingWrites-- <= 0)
        return s_pWriteFile(hFile, pData, nSize, pnWritten, nullptr);
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

template <typename Writer>
class LineFile : public testing::Test
{
};
using Writers = testing::Types<CPlainResultLog, CPlainLogFile>;
TYPED_TEST_SUITE(LineFile, Writers);

// A line that is cut, or written in part, would pass for a whole result.
TYPED_TEST(LineFile, WritesWholeLinesOrNothing)
{
    const CTestFolder folder;
    const std::wstring sPath = folder.Write(L"lines.txt", std::string(9000, 'o'));
    const CLogWatch watch;
    TypeParam file;
    EXPECT_EQ(file.WriteLine(nullptr), E_UNEXPECTED);
    ASSERT_EQ(file.OpenPlain(sPath), S_OK);
    EXPECT_EQ(file.WriteLine(nullptr), E_POINTER);
    EXPECT_EQ(file.WriteLine(L"%s", std::wstring(2047, L'x')), S_OK);
    EXPECT_EQ(file.WriteLine(L"%s", std::wstring(2048, L'y')), E_FAIL);
    EXPECT_EQ(file.WriteLine(L""), S_OK);
    TypeParam second;
    EXPECT_EQ(second.OpenPlain(sPath), static_cast<HRESULT>(0x80070020));
    EXPECT_EQ(file.WriteLine(L"%d%%\t%s", 7, L"\u65e5"), S_OK) << "not in the code page";
    {
        const CImportPatch<decltype(WriteOrFail)> patch("WriteFile", WriteOrFail);
        s_nFailingWrites = 1;
        EXPECT_EQ(file.WriteLine(L"lost"), static_cast<HRESULT>(0x80070070));
    }
    file.Close();
    file.Close();
    EXPECT_EQ(file.WriteLine(L"late"), E_UNEXPECTED);
    EXPECT_EQ(ReadBytes(sPath), std::string(2047, 'x') + "\r\n\r\n7%\t?\r\n");

    const std::string sName = "[" + std::string(TypeParam::Name) + "::";
    const std::string sNoFile = sName + "WriteLine] " + TypeParam::Handle + " == NULL";
    EXPECT_THAT(watch.Records(), ElementsAre(sNoFile, sName + "WriteLine] pFormatMsg == NULL", sName + "WriteLine] ::_vsntprintf_s() failed. [-1]",
                                             sName + "Open] CAtlFile::Create( \"" + Utf8(sPath) + "\" ) failed. [0x80070020]",
                                             sName + "WriteLine] CAtlFile::Write() failed. [0x80070070]", sNoFile));
}

// The reports of a Japanese PC are read there: each thread's own code page counts, in whole lines.
TEST(ResultLog, WritesTheCodePageOfTheThread)
{
    const CTestFolder folder;
    const LCID dwBefore = ::GetThreadLocale();
    ::SetThreadLocale(MAKELCID(MAKELANGID(LANG_JAPANESE, SUBLANG_JAPANESE_JAPAN), SORT_DEFAULT));
    CResultLog log;
    EXPECT_EQ(log.Open(folder / L"r.txt", false), S_OK);
    EXPECT_EQ(log.Write(L"a%s", L"\u65e5"), S_OK);
    EXPECT_EQ(log.WriteLine(L"%s", std::wstring(2047, L'\u672c')), S_OK);
    ::SetThreadLocale(dwBefore);
    log.Close();
    std::string sExpected = "a\x93\xFA";
    for (int n = 0; n < 2047; ++n)
        sExpected += "\x96\x7B";
    EXPECT_EQ(ReadBytes(folder / L"r.txt"), sExpected + "\r\n");
}

DWORD WINAPI NoVersion(LPCWSTR, LPDWORD)
{
    ::SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
    return 0;
}

// Every report is told apart by its head, also where the program has lost its version.
TEST(ResultLog, BeginsWithTheDatedVersion)
{
    const CTestFolder folder;
    const auto Head = [&] {
        CResultLog log;
        EXPECT_EQ(log.Open(folder / L"head.txt", true), S_OK);
        log.Close();
        return ReadBytes(folder / L"head.txt");
    };
    const std::string sPattern = std::string(48, '_') + "\r\n\\[\\d\\d\\d\\d/\\d\\d/\\d\\d \\d\\d:\\d\\d:\\d\\d\\] Version ";
    EXPECT_THAT(Head(), testing::MatchesRegex(sPattern + "1\\.0\\.0\\.0\r\n"));
    const CImportPatch<decltype(NoVersion)> patch("GetFileVersionInfoSizeW", NoVersion);
    EXPECT_THAT(Head(), testing::MatchesRegex(sPattern + "\r\n"));
}

} // namespace
