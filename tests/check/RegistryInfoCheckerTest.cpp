#include "check/RegistryInfoChecker.h"

#include "check/CheckRun.h"
#include "support/FakeRoots.h"

namespace
{

using namespace std::string_literals;

const std::string Abc("A\0b\0c\0\0", 8), One("\1\0\0\0", 4);

struct CExpected
{
    const wchar_t* pName;
    DWORD dwType;
    std::string sBytes;
    const wchar_t* pPath = L"SOFTWARE\\Kelvarin %s";
    bool b64 = false;
};

std::string Verdicts(const std::vector<CExpected>& Values)
{
    std::vector<CRegistryInfo> Infos;
    for (const CExpected& rValue : Values)
    {
        CRegistryInfo& rInfo = Infos.emplace_back();
        // A path that begins with no known root has none.
        if (::wcsncmp(rValue.pPath, L"HKCU", 4) != 0)
        {
            rInfo.hRootKey = HKEY_LOCAL_MACHINE;
            rInfo.sRootKeyName = L"HKEY_LOCAL_MACHINE";
        }
        rInfo.sKeyPath = rValue.pPath;
        rInfo.sValueName = rValue.pName;
        rInfo.dwType = rValue.dwType;
        rInfo.Data.Allocate(static_cast<DWORD>(rValue.sBytes.size()));
        std::ranges::copy(rValue.sBytes, rInfo.Data.Data());
        rInfo.bWow64Key = rValue.b64;
    }
    return CountedLines([&](CResultLog& rLog, UINT32* pulFailed) {
        return CRegistryInfoChecker(rLog, Infos).CheckRegistryInfos(pulFailed);
    });
}

// Registry data are whatever some program stored: unterminated, odd, too long, of another type.
TEST(RegistryInfoChecker, ComparesByTypeWhateverTheDataAre)
{
    const CFakeRoots roots(L"check/Registry.reg");
    const std::string sVerdicts = Verdicts({
        { L"", REG_SZ, Abc },
        { L"equal \"%d\"", REG_SZ, Abc },
        { L"other case", REG_SZ, Abc },
        { L"longer", REG_SZ, Abc },
        { L"unterminated", REG_SZ, Abc },
        { L"unterminated, and half a character", REG_SZ, Abc },
        { L"half a character", REG_SZ, Abc },
        { L"text behind the end", REG_SZ, Abc },
        { L"text without bytes", REG_SZ, "\0\0"s },
        { L"text without bytes", REG_SZ, Abc },
        { L"expanded text", REG_SZ, Abc },
        { L"list", REG_MULTI_SZ, Abc },
        { L"number", REG_DWORD, One },
        { L"short number", REG_DWORD, One },
        { L"long number", REG_DWORD, One },
        { L"long number", REG_QWORD, One + One },
        { L"bytes", REG_BINARY, "\1\2\3" },
        { L"one byte more", REG_BINARY, "\1\2\3" },
        { L"no bytes", REG_BINARY, "" },
        { L"gone", REG_SZ, Abc },
        { L"", REG_SZ, Abc, L"HKCU\\Software" },
    });
    ExpectGolden(L"check/Registry.txt", sVerdicts, L"");
}

// What is missing must be told as missing, in the view that the record names; no view stands in for the other.
TEST(RegistryInfoChecker, LooksInTheViewOfTheRecordOnly)
{
    const CScratchKey key32(L"Kelvarin32", KEY_WOW64_32KEY), key64(L"Kelvarin64", KEY_WOW64_64KEY);
    key32.SetDword(L"v", 1);
    key64.SetDword(L"v", 1);
    const std::string sVerdicts = Verdicts({ { L"v", REG_DWORD, One, L"SOFTWARE\\Kelvarin64", true },
                                             { L"v", REG_DWORD, One, L"SOFTWARE\\Kelvarin64", false },
                                             { L"v", REG_DWORD, One, L"SOFTWARE\\Kelvarin32", true },
                                             { L"v", REG_DWORD, One, L"SOFTWARE\\Kelvarin32", false } });
    ExpectGolden(L"check/RegistryViews.txt", sVerdicts, L"");
}

} // namespace
