#include <gmock/gmock.h>

#include <objbase.h>
#include <process.h>
#include <tlhelp32.h>

#include <algorithm>
#include <bit>

#include "check/ComTestClasses.h"
#include "platform/Handle.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

using ::testing::EndsWith;
using ::testing::IsSupersetOf;

using ComObjectChecker = CComTest;

// The heart of the check: an interface without a proxy works in the object's own apartment and nowhere else, so where
// a class's objects really live decides. A checker that asked on the creating thread would find nothing. The creating
// thread must see the end of its wait between thousands of messages.
TEST_F(ComObjectChecker, AsksObjectsOfEachThreadingModelFromBothApartments)
{
    ComInfos Infos;
    for (const wchar_t* const pModel : { L"Both", L"Free", L"Apartment", L"" })
    {
        Infos.push_back(Add(L"Good", pModel));
        Infos.push_back(Add(L"Bad", pModel));
        Infos.back().Interfaces = { { L"IPersist", IID_IPersist },
                                    { L"IVlmInner", IidInner },
                                    { L"IVlmZ", IidIdentity } };
    }
    Infos.push_back(Add(L"Stormy", L"Apartment", L"message-storm"));
    ExpectRun("Models", Infos);
}

// The apartments of a record that is not asked from all of them; success of an interface is silent there.
TEST_F(ComObjectChecker, AsksWhereARecordSaysWithoutALinePerInterface)
{
    ComInfos Infos(6, AddFilter(L"Filter"));
    Infos[1].Interfaces[L"INone"] = {};
    Infos[1].Interfaces[L"IOther"] = IID_IPersist;
    Infos[2].nApartment = CComObjectInfo::Apartment_Mta;
    Infos[3].nApartment = CComObjectInfo::Apartment_Both;
    Infos[4].nApartment = 7;
    Infos[5].Interfaces.clear();
    Infos[5].bAllApartments = true;
    ExpectRun("Apartments", Infos);
}

// Servers that hand out no object: each apartment tells so by its own line, with the platform's code. Where the library
// is at fault, Wine's is that of the local server that it looks for then; Windows keeps the first (0x8007007E).
TEST_F(ComObjectChecker, TellsWhyAServerGivesNoObject)
{
    const CTestFolder folder;
    ComInfos Infos{
        Unregistered(L"Zeros"),
        Unregistered(L"Nobody"),
        Add(L"Missing", L"Both", L"", L"C:\\nowhere\\none.dll"),
        Add(L"Text", L"Both", L"", folder.Write(L"text.dll", "no image at all")),
        Add(L"NoEntry", L"Both", L"", L"C:\\windows\\system32\\version.dll"),
        Add(L"NoClass", L"Both", L"no-class"),
        Add(L"Failure", L"Both", L"fail-object"),
        Add(L"Null", L"Both", L"null-object"),
        Add(L"Throwing", L"Both", L"throw-construct"),
        Add(L"Good", L"Both"),
    };
    Infos[0].clsid = {};
    ExpectRun("Servers", Infos);
}

// An object that breaks COM's rules, or whose C++ exception leaves the guard, must not take the run with it. (Wine's
// code for an object without IUnknown is a lack of memory.)
TEST_F(ComObjectChecker, SurvivesObjectsThatBreakTheRules)
{
    const LONG nAlive = AliveObjects();
    const CLogWatch watch;
    ComInfos Infos;
    for (const wchar_t* const pWords :
         { L"other-objects", L"unload-early", L"catch-inside", L"refuse-unknown", L"throw-release",
           L"free-threaded throw-query", L"free-threaded answer-by-message message-storm" })
        Infos.push_back(Add(pWords, L"Both", pWords));
    Infos.push_back(AddFilter(L"Filter", L"throw-query"));
    ExpectRun("Rules", Infos);
    EXPECT_EQ(AliveObjects(), nAlive);
    EXPECT_THAT(
        watch.Records(),
        IsSupersetOf({ EndsWith("] Failed: Unknown exception.[STA][name:\"Filter\"]"),
                       EndsWith("] Failed: Unknown exception.[STA -> MTA][clsid:\"free-threaded throw-query\"]"),
                       EndsWith("] Failed: RegisterInterfaceInGlobal() failed.[0x8007000E][MTA]") }));
}

// A side-by-side object that its own file has registered would hide that the manifest does not work. The test comes
// last, and "ANYWHERE" leaves it out. A dummy must be absent: its success is silence.
TEST_F(ComObjectChecker, WantsSideBySideObjectsUnregisteredAndDummiesAbsent)
{
    const std::wstring sServer = ServerPath(), sFolder = sServer.substr(0, sServer.rfind(L'\\'));
    const CComObjectInfo good = Add(L"Good", L"Both", L"free-threaded");
    const CComObjectInfo broken = Add(L"Broken", L"Both", L"fail-object");
    ComInfos Infos;
    const auto add = [&](const wchar_t* pName, CComObjectInfo info, INT32 nRegType, const std::wstring& sFilePath) {
        info.sName = pName;
        info.nRegType = nRegType;
        info.sFilePath = sFilePath;
        Infos.push_back(info);
    };
    add(L"Anywhere", good, CComObjectInfo::RegType_Sxs, L"anyWHERE");
    add(L"Elsewhere", good, CComObjectInfo::RegType_Sxs, L"C:\\elsewhere\\VlmObjects.dll");
    add(L"Registered", good, CComObjectInfo::RegType_Sxs, sServer);
    add(L"Twisted", good, CComObjectInfo::RegType_Sxs, sFolder + L"\\x\\..\\.\\VLMOBJECTS.DLL");
    add(L"Ordinary", good, CComObjectInfo::RegType_Normal, sServer);
    add(L"Absent", broken, CComObjectInfo::RegType_SxsDummy, L"ANYWHERE");
    add(L"Half", broken, CComObjectInfo::RegType_SxsDummy, sServer);
    add(L"Present", good, CComObjectInfo::RegType_SxsDummy, sServer);
    add(L"Hollow", Add(L"Hollow", L"Both", L"null-object"), CComObjectInfo::RegType_SxsDummy, L"ANYWHERE");
    add(L"Unknown", good, 3, L"ANYWHERE");
    ExpectRun("Side by side", Infos);
}

LONG ThreadCount()
{
    const CFileHandle hSnapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 Entry{};
    Entry.dwSize = sizeof Entry;
    LONG nCount = 0;
    for (BOOL bMore = ::Thread32First(hSnapshot.Get(), &Entry); bMore; bMore = ::Thread32Next(hSnapshot.Get(), &Entry))
        nCount += Entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1 : 0;
    return nCount;
}

// Each is tried, because Wine gives no count.
LONG HandleCount()
{
    LONG nCount = 0;
    DWORD dwFlags = 0;
    for (ULONG_PTR n = 4; n < 0x8000; n += 4)
        nCount += ::GetHandleInformation(reinterpret_cast<HANDLE>(n), &dwFlags) ? 1 : 0;
    return nCount;
}

// One handle, thread or reference that an object leaves behind would be hundreds here. A few of the objects are served
// by stubs; Wine keeps two handles for each of these, and some threads for later.
TEST_F(ComObjectChecker, LeavesNothingBehindAfterFiveHundredObjects)
{
    constexpr LONG Served = 24, Slack = 8;
    ComInfos Infos{ Add(L"Served", L"Both"), Add(L"Free-threaded", L"Both", L"free-threaded") };
    RunComCheck(Infos);
    const LONG nAlive = AliveObjects(), nThreads = ThreadCount(), nHandles = HandleCount();
    Infos.resize(500, Infos[1]);
    std::fill_n(Infos.begin(), Served, Infos[0]);
    const std::string sRun = RunComCheck(Infos);
    EXPECT_TRUE(sRun.starts_with("0 failed\r\n"));
    EXPECT_EQ(std::ranges::count(sRun, '\n'), 5001);
    EXPECT_EQ(AliveObjects(), nAlive);
    EXPECT_LE(ThreadCount(), nThreads + Slack);
    EXPECT_LE(HandleCount(), nHandles + 2 * Served + Slack);
}

// A fault is no exception: it must reach the platform's crash report.
TEST_F(ComObjectChecker, LeavesAccessViolationsToThePlatform)
{
    const CComObjectInfo info = Add(L"Faulting", L"Both", L"fault-construct");
    EXPECT_EXIT(RunComCheck({ info }), ::testing::ExitedWithCode(static_cast<int>(EXCEPTION_ACCESS_VIOLATION)), "");
}

// The records' lines while the platform's function fails after so many calls. The test's own thread, which runs the
// checker as the program does, is left alone.
template <auto Failure, typename Function>
void ExpectFailing(const char* pName, int nLetThrough, const ComInfos& rInfos)
{
    const DWORD dwTestThread = ::GetCurrentThreadId();
    int nLeft = nLetThrough;
    const auto fails = WrapImport<Function>(pName, [&](auto original, auto... arguments) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        const bool bFails = ::GetCurrentThreadId() != dwTestThread && nLeft-- <= 0;
        return bFails ? std::bit_cast<decltype(original(arguments...))>(Failure) : original(arguments...);
    });
    ExpectRun(std::string(pName) + " " + std::to_string(nLetThrough), rInfos);
}

#pragma GCC diagnostic ignored "-Wnon-virtual-dtor" // as every COM interface
// A table that loses what is put into it.
class CLosingTable final : public IGlobalInterfaceTable
{
public:
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP RegisterInterfaceInGlobal(IUnknown*, REFIID, DWORD*) override { return S_OK; }
    STDMETHODIMP RevokeInterfaceFromGlobal(DWORD) override { return S_OK; }
    STDMETHODIMP GetInterfaceFromGlobal(DWORD, REFIID, void**) override { return E_INVALIDARG; }
};

// Threads that the checker can still start.
int g_nThreads;
std::uintptr_t __cdecl BeginThread(void*, unsigned, _beginthreadex_proc_type pBody, void* pArgument, unsigned nFlags,
                                   unsigned*)
{
    ::SetLastError(ERROR_ACCESS_DENIED);
    const auto body = reinterpret_cast<LPTHREAD_START_ROUTINE>(pBody);
    return g_nThreads-- > 0
               ? reinterpret_cast<std::uintptr_t>(::CreateThread(nullptr, 0, body, pArgument, nFlags, nullptr))
               : 0;
}

// Without its thread a record counts twice and its STA run is skipped; a missing second thread, apartment or wait ends
// that one run. Scripts know the names in the lines for failed waits, which stand crosswise. A failed look-up in the
// table and a failed scan are told but not counted; that is how result files have always been.
TEST_F(ComObjectChecker, TellsWhatThePlatformRefused)
{
    CComObjectInfo info = Add(L"Lonely", L"Both", L"free-threaded");
    CComObjectInfo dummy = info; // is not scanned
    dummy.nRegType = CComObjectInfo::RegType_SxsDummy;
    dummy.clsid = {};
    info.Interfaces.clear();
    for (const int nThreads : { 0, 1, 2 })
    {
        const CImportPatch patch("_beginthreadex", &BeginThread);
        g_nThreads = nThreads + 1; // the test's own
        ExpectRun("_beginthreadex " + std::to_string(nThreads), { info, info });
    }
    for (const int nCalls : { 0, 1 })
        ExpectFailing<E_OUTOFMEMORY, decltype(::CoInitializeEx)>("CoInitializeEx", nCalls, { info, dummy });
    ExpectFailing<E_OUTOFMEMORY, decltype(::CoCreateInstance)>("CoCreateInstance", 0, { info });
    ExpectFailing<WAIT_FAILED, decltype(::MsgWaitForMultipleObjects)>("MsgWaitForMultipleObjects", 0, { info });
    ExpectFailing<-1L, decltype(::CreateToolhelp32Snapshot)>("CreateToolhelp32Snapshot", 0, { info, dummy });
    ExpectFailing<FALSE, decltype(::Module32FirstW)>("Module32FirstW", 0, { info, dummy });

    CLosingTable table;
    const auto create = FakeImport<decltype(::CoCreateInstance)>("CoCreateInstance", [&](auto... arguments) {
        *std::get<4>(std::tuple(arguments...)) = &table; // for the object as well
        return S_OK;
    });
    ExpectRun("Losing table", { info });
}

} // namespace
