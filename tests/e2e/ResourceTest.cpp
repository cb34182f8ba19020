// What the program's file carries beside its code.
#include <cstdlib>
#include <stdexcept>

#include <gmock/gmock.h>

#include "app/Resource.h"
#include "platform/Handle.h"
#include "platform/VersionResource.h"

namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;

BOOL CALLBACK AddLanguage(HMODULE, LPCWSTR, LPCWSTR, WORD wLanguage, LONG_PTR pLanguages)
{
    reinterpret_cast<std::vector<WORD>*>(pLanguages)->push_back(wLanguage);
    return TRUE;
}

// A resource left out of the build shows only on the user's PC: no dialog, old behaviour of the system, no version.
TEST(Program, CarriesItsDialogItsVersionAndItsManifest)
{
    const std::wstring sProgram = ::_wgetenv(L"KELVARIN_EXE");
    const CModuleHandle hModule(::LoadLibraryExW(sProgram.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE));
    ASSERT_TRUE(hModule);

    std::vector<WORD> Languages;
    ::EnumResourceLanguagesW(hModule.Get(), reinterpret_cast<LPCWSTR>(RT_DIALOG), MAKEINTRESOURCEW(IDD_PROGRESS),
                             AddLanguage, reinterpret_cast<LONG_PTR>(&Languages));
    EXPECT_THAT(Languages, ElementsAre(1041));

    CVersionResource version;
    ASSERT_EQ(version.Load(sProgram), DWORD{ ERROR_SUCCESS });
    EXPECT_EQ(version.FileVersionText(), L"1.0.0.0");

    const HRSRC hManifest = ::FindResourceW(hModule.Get(), MAKEINTRESOURCEW(1), reinterpret_cast<LPCWSTR>(RT_MANIFEST));
    ASSERT_NE(hManifest, nullptr);
    const std::string sManifest(static_cast<const char*>(::LockResource(::LoadResource(hModule.Get(), hManifest))),
                                ::SizeofResource(hModule.Get(), hManifest));
    for (const char* pPart : { "highestAvailable", "Microsoft.Windows.Common-Controls", "longPathAware",
                               "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}" })
        EXPECT_THAT(sManifest, HasSubstr(pPart));
}

} // namespace
