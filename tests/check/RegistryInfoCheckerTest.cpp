#include "check/RegistryInfoChecker.h"

#include <algorithm>

#include "check/CheckRun.h"
#include "support/ScratchKey.h"

namespace
{

using namespace std::string_literals;

constexpr const wchar_t* Root = L"HKEY_LOCAL_MACHINE";
constexpr const wchar_t* Path = L"SOFTWARE\\KelvarinTests %s";
const std::string Key = "[key:\"HKEY_LOCAL_MACHINE\\SOFTWARE\\KelvarinTests %s\"]";

// UTF-16 bytes of the text with its terminator.
std::string Wide(const std::wstring& sText)
{
    return { reinterpret_cast<const char*>(sText.c_str()), (sText.size() + 1) * sizeof(wchar_t) };
}

std::span<const BYTE> BytesOf(const std::string& sBytes)
{
    return { reinterpret_cast<const BYTE*>(sBytes.data()), sBytes.size() };
}

CRegistryInfo Info(const wchar_t* pName, DWORD dwType, const std::string& sBytes, const wchar_t* pPath = Path,
                   bool b64 = false)
{
    CRegistryInfo info;
    info.hRootKey = HKEY_LOCAL_MACHINE;
    info.sRootKeyName = Root;
    info.sKeyPath = pPath;
    info.sValueName = pName;
    info.dwType = dwType;
    info.Data.Allocate(static_cast<DWORD>(sBytes.size()));
    std::copy(sBytes.begin(), sBytes.end(), info.Data.Data());
    info.bWow64Key = b64;
    return info;
}

std::string Verdict(CRegistryInfo info)
{
    std::vector<CRegistryInfo> Infos;
    Infos.push_back(std::move(info));
    const CCheckRun run = RunCheck([&](CResultLog& rLog, UINT32* pulFailed) {
        return CRegistryInfoChecker(rLog, Infos).CheckRegistryInfos(pulFailed);
    });
    EXPECT_EQ(run.hr, S_OK);
    EXPECT_EQ(run.Lines.size(), 1u);
    const std::string sLine = run.Lines.empty() ? "" : run.Lines[0];
    EXPECT_EQ(run.nFailed, sLine.starts_with("Failed: ") ? 1u : 0u) << sLine;
    return sLine;
}

// Registry data are whatever some program stored: unterminated, odd, too long, of another type.
TEST(RegistryInfoChecker, ComparesByTypeWhateverTheDataAre)
{
    const CScratchKey key(L"KelvarinTests %s");
    const std::string sUnterminated = Wide(L"AbcX");
    const std::string Equal = "Succeeded: Check Registry Info.", Differs = "Failed: Registry value is not equal.",
                      Type = "Failed: Registry value type is not equal.";
    const struct
    {
        DWORD dwStoredType;
        std::string sStored;
        DWORD dwType;
        std::string sExpected;
        std::string sVerdict, sTail;
    } aCases[] = {
        { REG_SZ, Wide(L"Abc"), REG_SZ, Wide(L"Abc"), Equal, "" },
        { REG_SZ, Wide(L"abc"), REG_SZ, Wide(L"Abc"), Differs, "" },
        { REG_SZ, sUnterminated.substr(0, 6), REG_SZ, Wide(L"Abc"), Equal, "" },
        { REG_SZ, sUnterminated.substr(0, 7), REG_SZ, Wide(L"Abc"), Equal, "" },
        { REG_SZ, sUnterminated.substr(0, 1), REG_SZ, Wide(L"A"), Differs, "" },
        { REG_SZ, Wide(L"Abc\0more"s), REG_SZ, Wide(L"Abc"), Equal, "" },
        { REG_SZ, Wide(L"Abcd"), REG_SZ, Wide(L"Abc"), Differs, "" },
        { REG_SZ, "", REG_SZ, Wide(L""), Equal, "" },
        { REG_SZ, "", REG_SZ, Wide(L"A"), Differs, "" },
        { REG_EXPAND_SZ, Wide(L"Abc"), REG_SZ, Wide(L"Abc"), Type, "[current:2 original:1]" },
        { REG_DWORD, "\1\0\0\0"s, REG_DWORD, "\1\0\0\0"s, Equal, "" },
        { REG_DWORD, "\1\0"s, REG_DWORD, "\1\0\0\0"s, Differs, "" },
        { REG_QWORD, "\1\0\0\0\0\0\0\0"s, REG_DWORD, "\1\0\0\0"s, Type, "[current:11 original:4]" },
        { REG_QWORD, "\1\0\0\0\0\0\0\1"s, REG_QWORD, "\1\0\0\0\0\0\0\0"s, Differs, "" },
        { REG_BINARY, "\1\2\3"s, REG_BINARY, "\1\2\3"s, Equal, "" },
        { REG_BINARY, "\1\2\3\0"s, REG_BINARY, "\1\2\3"s, Differs, "" },
        { REG_BINARY, "", REG_BINARY, "", Equal, "" },
        { REG_MULTI_SZ, Wide(L"A"), REG_MULTI_SZ, Wide(L"A"), "Failed: Registry data type is unknown.", "[type:7]" },
    };
    int nCase = 0;
    for (const auto& rCase : aCases)
    {
        for (const wchar_t* pName : { L"", L"value \"x\" %d" })
        {
            key.Set(pName, rCase.dwStoredType, BytesOf(rCase.sStored));
            EXPECT_EQ(Verdict(Info(pName, rCase.dwType, rCase.sExpected)),
                      rCase.sVerdict + Key + "[value:\"" + Utf8(pName) + "\"]" + rCase.sTail)
                << "case " << nCase;
        }
        ++nCase;
    }
}

// What is missing must be told as missing, in the view that the record names; no view stands in for the other.
TEST(RegistryInfoChecker, LooksInTheViewOfTheRecordOnly)
{
    const CScratchKey key32(L"KelvarinTests %s", KEY_WOW64_32KEY), key64(L"KelvarinTests64", KEY_WOW64_64KEY);
    key64.SetDword(L"v", 1);
    const std::string sOne("\1\0\0\0", 4);
    const wchar_t* const p64 = L"SOFTWARE\\KelvarinTests64";
    EXPECT_EQ(Verdict(Info(L"v", REG_DWORD, sOne, p64, true)),
              "Succeeded: Check Registry Info.[key:\"HKEY_LOCAL_MACHINE\\SOFTWARE\\KelvarinTests64\"][value:\"v\"]");
    EXPECT_EQ(Verdict(Info(L"v", REG_DWORD, sOne, p64)),
              "Failed: Registry key is not found.[key:\"HKEY_LOCAL_MACHINE\\SOFTWARE\\KelvarinTests64\"]");
    EXPECT_EQ(Verdict(Info(L"v", REG_DWORD, sOne, Path, true)),
              "Failed: Registry key is not found.[key(x64):\"HKEY_LOCAL_MACHINE\\SOFTWARE\\KelvarinTests %s\"]");
    EXPECT_EQ(Verdict(Info(L"", REG_SZ, sOne)), "Failed: Registry value is not found." + Key + "[value:\"\"]");

    CRegistryInfo unrooted = Info(L"v", REG_DWORD, sOne, L"HKCU\\Software");
    unrooted.hRootKey = nullptr;
    unrooted.sRootKeyName.clear();
    EXPECT_EQ(Verdict(std::move(unrooted)), "Failed: Registry key is not found.[key:\"\\HKCU\\Software\"]");
}

} // namespace
