// The check of a manifest: the checkers of files, registry values, services and unregistered classes, and the manager
// that runs them.
#include <filesystem>
#include <regex>

#include "check/Base64.h"
#include "check/CheckRun.h"
#include "check/InstallCheckManager.h"
#include "platform/Handle.h"
#include "platform/Path.h"
#include "support/FakeRoots.h"
#include "support/ProgressWatch.h"

namespace
{

CConfigFile Loaded(const CTestFolder& rFolder, const std::string& sManifest)
{
    CConfigFile config;
    EXPECT_EQ(config.Load(rFolder.Write(L"Kelvarin.xml", sManifest)), S_OK);
    return config;
}

std::string Checked(const CConfigFile& rConfig)
{
    return RunCheck([&](CResultLog& rLog, UINT32* pulFailed) {
        const CTestFolder lists;
        return CInstallCheckManager(rConfig, rLog, lists.Path()).CheckInstallationStatus(pulFailed);
    });
}

// The files that the manifest is about.
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
    for (const wchar_t* const pName : { L"a.tvm", L"INIT.TVM", L"DEVICE.TVL" })
        rFolder.Write(pName, sHeader);
    rFolder.Write(L"short.TVM", sHeader.substr(0, 9));
    rFolder.Write(L"empty.TVM", "");
    for (const wchar_t* const pName : { L"MSVCmfcATL.Dll", L"atlmfcmsvc.ax" })
        rFolder.Write(pName, "no library");
    ::CopyFileW(L"C:\\windows\\system32\\version.dll", (rFolder / L"atl mfc msvc.dll").c_str(), TRUE);
    ::CopyFileW(ModulePath().c_str(), (rFolder / L"versioned.exe").c_str(), TRUE);
}

// Support desks search the result file for these lines; the manifest tells what each record is about.
TEST(FileInfoChecker, WritesOneLineForEachOutcome)
{
    const CTestFolder folder;
    MakeFiles(folder);
    const std::string sManifest = Document(L"check/Files.xml", folder.Path());
    const CConfigFile config = Loaded(folder, std::regex_replace(sManifest, std::regex("@"), PRODUCT_VERSION));
    const std::filesystem::path Before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    const std::string sRun = Checked(config);
    std::filesystem::current_path(Before);
    ExpectGolden(L"check/Files.txt", std::regex_replace(sRun, std::regex(PRODUCT_VERSION), "@"), folder.Path());
    EXPECT_EQ(::GetModuleHandleW((folder / L"atl mfc msvc.dll").c_str()), nullptr) << "it stays loaded";
}

// Registry data are whatever some program stored: unterminated, odd, too long, of another type.
TEST(RegistryInfoChecker, ComparesByTypeWhateverTheDataAre)
{
    const CTestFolder folder;
    const CConfigFile config = Loaded(folder, Document(L"check/Registry.xml"));
    const CFakeRoots roots(L"check/Registry.reg");
    ExpectGolden(L"check/Registry.txt", Checked(config), L"");
}

// What is missing must be told as missing, in the view that the record names; no view stands in for the other.
TEST(RegistryInfoChecker, LooksInTheViewOfTheRecordOnly)
{
    const CTestFolder folder;
    const CScratchKey key32(L"Kelvarin32", KEY_WOW64_32KEY), key64(L"Kelvarin64", KEY_WOW64_64KEY);
    key32.SetDword(L"v", 1);
    key64.SetDword(L"v", 1);
    ExpectGolden(L"check/RegistryViews.txt", Checked(Loaded(folder, Document(L"check/RegistryViews.xml"))), L"");
}

// The stages' order and texts are what the user sees; the count of the whole run decides between OK and NG.
TEST(InstallCheckManager, RunsAndAddsUpTheStagesInTheirOrder)
{
    const CTestFolder folder;
    const CConfigFile config = Loaded(folder, Document(L"check/Stages.xml", folder.Path()));
    const CFakeRoots roots(L"check/Classes.reg");
    CProgressWatch progress;
    ExpectGolden(L"check/Stages.txt", Checked(config) + progress.Seen(), folder.Path());
}

} // namespace
