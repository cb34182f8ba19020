#include <windows.h>

#include <objbase.h>
#include <process.h>
#include <tlhelp32.h>

#include "check/ComTestClasses.h"
#include "platform/Format.h"
#include "platform/Handle.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"

namespace
{

using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::IsSupersetOf;

// Wine goes on to look for a local server when there is none in the process, and its code for that one is what stays;
// Windows keeps the first code (0x8007007E and others).
constexpr HRESULT NoServer = REGDB_E_CLASSNOTREG;
// Wine's code for an object that has no IUnknown to be marshalled.
constexpr HRESULT NotMarshalled = E_OUTOFMEMORY;

class ComObjectChecker : public ::testing::Test
{
protected:
    void Expect(const std::vector<CComObjectInfo>& rInfos, UINT32 nFailed, const Lines& rExpected)
    {
        const CCheckRun run = RunComCheck(rInfos);
        EXPECT_EQ(run.hr, S_OK);
        EXPECT_EQ(run.nFailed, nFailed);
        EXPECT_THAT(run.Lines, ElementsAreArray(rExpected));
    }

    CComTestClasses m_Classes;
};

// The heart of the check: an interface without a proxy works in the object's own apartment and nowhere else, so where
// a class's objects really live decides. A checker that asked on the creating thread would find nothing.
TEST_F(ComObjectChecker, AsksObjectsOfEachThreadingModelFromBothApartments)
{
    static constexpr struct
    {
        const wchar_t* pModel;
        bool Inner[4]; // whether the interface without a proxy answers
    } Cases[] = {
        { L"Both", { true, false, false, false } },
        { L"Free", { true, false, true, false } },
        { L"Apartment", { false, false, false, false } },
        { L"", { false, false, false, false } },
    };
    static constexpr const char* Ways[] = { "MTA -> MTA", "MTA -> STA", "STA -> MTA", "STA -> STA" };
    for (const auto& rCase : Cases)
    {
        SCOPED_TRACE(Utf8(rCase.pModel));
        const CComObjectInfo good = m_Classes.Add(L"Good", rCase.pModel);
        CComObjectInfo bad = m_Classes.Add(L"Bad", rCase.pModel);
        bad.Interfaces = { { L"IPersist", IidPersist }, { L"IVlmInner", IidInner }, { L"IVlmZ", IidIdentity } };
        Lines all = AllWell(good);
        UINT32 nFailed = 0;
        for (int n = 0; n < 4; ++n)
        {
            nFailed += rCase.Inner[n] ? 0 : 1;
            all.push_back(Answered(Ways[n], bad, L"IPersist"));
            all.push_back(rCase.Inner[n] ? Answered(Ways[n], bad, L"IVlmInner") : Refused(Ways[n], bad, L"IVlmInner", E_NOINTERFACE));
            all.push_back(Answered(Ways[n], bad, L"IVlmZ"));
        }
        Expect({ good, bad }, nFailed, all);
    }
}

// The apartments of a record that is not asked from all of them; success of an interface is silent there.
TEST_F(ComObjectChecker, AsksWhereARecordSaysWithoutALinePerInterface)
{
    CComObjectInfo good = m_Classes.AddFilter(L"Filter");
    CComObjectInfo bad = m_Classes.AddFilter(L"Limited");
    bad.Interfaces.emplace(L"IOther", IidPersist);
    bad.Interfaces[L"INone"] = {};
    Expect({ good, bad }, 1, { Worked("STA", good), Refused("STA", bad, L"INone", E_NOINTERFACE) });
    good.nApartment = CComObjectInfo::Apartment_Mta;
    Expect({ good }, 0, { Worked("MTA", good) });
    good.nApartment = CComObjectInfo::Apartment_Both;
    Expect({ good }, 0, { Worked("MTA", good), Worked("STA", good) });
    good.nApartment = 7;
    Expect({ good }, 0, {});
    good.Interfaces.clear();
    good.bAllApartments = true;
    Expect({ good }, 0, { Worked("MTA", good), Worked("STA", good) });
}

// Servers that hand out no object: each apartment tells so by its own line, with the platform's code.
TEST_F(ComObjectChecker, TellsWhyAServerGivesNoObject)
{
    const CTestFolder folder;
    const std::wstring sText = folder.Write(L"text.dll", "no image at all");
    CComObjectInfo zeros = m_Classes.Unregistered(L"Zeros");
    zeros.clsid = {};
    CComObjectInfo filter = m_Classes.Unregistered(L"Filter");
    filter.bAllApartments = false;
    filter.nApartment = CComObjectInfo::Apartment_Sta;
    const struct
    {
        CComObjectInfo info;
        HRESULT hr;
    } Cases[] = {
        { zeros, REGDB_E_CLASSNOTREG },
        { m_Classes.Unregistered(L"Nobody"), REGDB_E_CLASSNOTREG },
        { m_Classes.Add(L"Missing", L"Both", L"", L"C:\\nowhere\\none.dll"), NoServer },
        { m_Classes.Add(L"Text", L"Both", L"", sText), NoServer },
        { m_Classes.Add(L"NoEntry", L"Both", L"", L"C:\\windows\\system32\\version.dll"), NoServer },
        { m_Classes.Add(L"NoClass", L"Both", L"no-class"), NoServer },
        { m_Classes.Add(L"Failure", L"Both", L"fail-object"), E_ACCESSDENIED },
        { m_Classes.Add(L"Null", L"Both", L"null-object"), E_POINTER },
    };
    for (const auto& rCase : Cases)
        Expect({ rCase.info }, 2, { NotCreated("MTA", rCase.info, rCase.hr), NotCreated("STA", rCase.info, rCase.hr) });
    Expect({ filter }, 1, { NotCreated("STA", filter, REGDB_E_CLASSNOTREG) });
}

// Objects that break COM's rules must not take the run with them.
TEST_F(ComObjectChecker, SurvivesObjectsThatBreakTheRules)
{
    for (const wchar_t* const pBehavior : { L"other-objects", L"unload-early", L"catch-inside" })
    {
        const CComObjectInfo info = m_Classes.Add(pBehavior, L"Both", pBehavior);
        Expect({ info }, 0, AllWell(info));
    }
    const CComObjectInfo refusing = m_Classes.Add(L"Refusing", L"Both", L"refuse-unknown");
    Expect({ refusing }, 2,
           { Utf8(FormatText(L"Failed: RegisterInterfaceInGlobal() failed.[0x%08X][MTA]", NotMarshalled)),
             Utf8(FormatText(L"Failed: RegisterInterfaceInGlobal() failed.[0x%08X][STA]", NotMarshalled)) });
}

// An object's C++ exception that leaves the guard would end the process, or the run of the other apartment.
TEST_F(ComObjectChecker, ReportsAnExceptionAndGoesOnWithTheNextApartment)
{
    const LONG nAlive = m_Classes.AliveObjects();
    CLogWatch watch;
    const CComObjectInfo query = m_Classes.Add(L"Query", L"Both", L"free-threaded throw-query");
    Expect({ query }, 4, { Threw("MTA -> MTA", query), Threw("MTA -> STA", query), Threw("STA -> MTA", query), Threw("STA -> STA", query) });
    const CComObjectInfo filter = m_Classes.AddFilter(L"Filter", L"throw-query");
    Expect({ filter }, 1, { Threw("STA", filter) });
    const CComObjectInfo release = m_Classes.Add(L"Release", L"Both", L"throw-release");
    Expect({ release }, 2, AllWell("MTA", release) + Lines{ Threw("MTA", release) } + AllWell("STA", release) + Lines{ Threw("STA", release) });
    EXPECT_EQ(m_Classes.AliveObjects(), nAlive);
    EXPECT_THAT(watch.Records(), IsSupersetOf({ EndsWith("] " + Threw("STA -> MTA", query)), EndsWith("] " + Threw("STA", filter)) }));
    const CComObjectInfo construct = m_Classes.Add(L"Construct", L"Both", L"throw-construct");
    const CComObjectInfo good = m_Classes.Add(L"Good", L"Both");
    Expect({ construct, good }, 2, Lines{ Threw("MTA", construct), Threw("STA", construct) } + AllWell(good));
}

// The creating thread must dispatch messages while it waits, for the object's own ones too, and must see the end of the
// wait between thousands of others.
TEST_F(ComObjectChecker, DispatchesMessagesWhileTheOtherApartmentAsks)
{
    const CComObjectInfo info = m_Classes.Add(L"Busy", L"Both", L"free-threaded answer-by-message message-storm");
    Expect({ info }, 0, AllWell(info));
    const CComObjectInfo apartment = m_Classes.Add(L"Stormy", L"Apartment", L"message-storm");
    Expect({ apartment }, 0, AllWell(apartment));
}

TEST_F(ComObjectChecker, AsksForEveryInterfaceOfALongList)
{
    CComObjectInfo info = m_Classes.Add(L"Rich", L"Both");
    for (int n = 0; n < 500; ++n)
        info.Interfaces.emplace(FormatText(L"I%03d", n), n % 2 == 0 ? IidPersist : IidIdentity);
    Expect({ info }, 0, AllWell(info));
}

DWORD ThreadCount()
{
    const CFileHandle hSnapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 Entry{};
    Entry.dwSize = sizeof Entry;
    DWORD nCount = 0;
    for (BOOL bMore = ::Thread32First(hSnapshot.Get(), &Entry); bMore; bMore = ::Thread32Next(hSnapshot.Get(), &Entry))
        nCount += Entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1u : 0u;
    return nCount;
}

// Handles are given out from the lowest free one, so a new one tells of all that are held. (Wine does not count them.)
LONG HandleMark()
{
    const CKernelHandle hEvent(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    return static_cast<LONG>(reinterpret_cast<ULONG_PTR>(hEvent.Get()) / 4);
}

// One handle, thread or reference left behind by an object would be hundreds here. The platform keeps a few threads for
// later. Few of the objects are asked across apartments: more of them than Wine can stand.
TEST_F(ComObjectChecker, LeavesNothingBehindAfterManyObjects)
{
    constexpr LONG Slack = 20;
    std::vector<CComObjectInfo> Infos(4, m_Classes.Add(L"Across", L"Both"));
    RunComCheck({ Infos.front() });
    const LONG nAlive = m_Classes.AliveObjects();
    const LONG nThreads = static_cast<LONG>(ThreadCount()), nHandles = HandleMark();
    Infos.resize(500, m_Classes.AddFilter(L"Filter"));
    const CCheckRun run = RunComCheck(Infos);
    EXPECT_EQ(run.nFailed, 0u);
    EXPECT_EQ(run.Lines.size(), 4u * 10 + 496);
    EXPECT_EQ(m_Classes.AliveObjects(), nAlive);
    EXPECT_LE(static_cast<LONG>(ThreadCount()) - nThreads, Slack);
    EXPECT_LE(HandleMark() - nHandles, Slack);
    std::printf("handles %ld -> %ld, threads %ld -> %lu\n", nHandles, HandleMark(), nThreads, ThreadCount());
}

// A side-by-side object that its own file has registered would hide that the manifest does not work. The test comes
// last, and "ANYWHERE" leaves it out.
TEST_F(ComObjectChecker, RefusesASideBySideObjectThatIsRegisteredFromItsFile)
{
    CComObjectInfo info = m_Classes.Add(L"Side", L"Both");
    info.nRegType = CComObjectInfo::RegType_Sxs;
    const std::string sRegistered = "Failed: \"Side\" registered.";
    Lines registered = AllWell(info);
    registered[4] = registered[9] = sRegistered;
    const std::wstring sServer = m_Classes.ServerPath();
    const std::size_t nName = sServer.rfind(L'\\');
    const struct
    {
        std::wstring sFilePath;
        bool bRegistered;
    } Cases[] = {
        { L"anyWHERE", false },
        { L"C:\\elsewhere\\VlmObjects.dll", false },
        { sServer, true },
        { sServer.substr(0, nName) + L"\\x\\..\\.\\VLMOBJECTS.DLL", true },
    };
    for (const auto& rCase : Cases)
    {
        SCOPED_TRACE(Utf8(rCase.sFilePath));
        info.sFilePath = rCase.sFilePath;
        Expect({ info }, rCase.bRegistered ? 2 : 0, rCase.bRegistered ? registered : AllWell(info));
    }
    // An ordinary record may be registered from its file.
    info.nRegType = CComObjectInfo::RegType_Normal;
    Expect({ info }, 0, AllWell(info));
}

// A dummy must be absent: its success is silence, and an object that can be had is the failure.
TEST_F(ComObjectChecker, WantsADummyToBeAbsent)
{
    CComObjectInfo absent = m_Classes.Unregistered(L"Absent");
    CComObjectInfo broken = m_Classes.Add(L"Broken", L"Both", L"fail-object");
    CComObjectInfo present = m_Classes.Add(L"Present", L"Both");
    absent.nRegType = broken.nRegType = present.nRegType = CComObjectInfo::RegType_SxsDummy;
    Expect({ absent, broken }, 0, {});
    broken.sFilePath = m_Classes.ServerPath();
    Expect({ broken }, 2, { "Failed: \"Broken\" registered.", "Failed: \"Broken\" registered." });
    const std::string sClsid = NotCreated("MTA", present, 0).substr(sizeof "Failed: CoCreateInstance() failed.[0x00000000]" - 1);
    const std::string sClsidSta = NotCreated("STA", present, 0).substr(sizeof "Failed: CoCreateInstance() failed.[0x00000000]" - 1);
    Expect({ present }, 2, { "Failed: CoCreateInstance() succeeded." + sClsid, "Failed: CoCreateInstance() succeeded." + sClsidSta });
    present.nRegType = 3;
    Expect({ present }, 2, { "Failed: Unknown com-reg-type.", "Failed: Unknown com-reg-type." });
}

// Counts the calls that come from the checker's threads; the test's own are let through.
class CCallCount
{
public:
    void FailAt(int nCall) { m_nFailAt = nCall, m_nCalls = 0; }
    bool Fails() { return ::GetCurrentThreadId() != m_dwTestThread && ++m_nCalls >= m_nFailAt; }

private:
    DWORD m_dwTestThread = ::GetCurrentThreadId();
    int m_nFailAt = 0;
    int m_nCalls = 0;
};
CCallCount g_Calls;

const CImportPatch<decltype(::_beginthreadex)>* g_pBeginThread;
std::uintptr_t __cdecl FailingBeginThread(void* pSecurity, unsigned nStack, _beginthreadex_proc_type pBody, void* pArgument, unsigned nFlags, unsigned* pnId)
{
    if (!g_Calls.Fails())
        return g_pBeginThread->Original()(pSecurity, nStack, pBody, pArgument, nFlags, pnId);
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return 0;
}

// Without threads a record counts twice and its STA run is skipped; a missing second thread ends that one run.
TEST_F(ComObjectChecker, CountsThreadsThatDoNotStart)
{
    const CComObjectInfo info = m_Classes.Add(L"Lonely", L"Both");
    const CImportPatch<decltype(::_beginthreadex)> patch("_beginthreadex", FailingBeginThread);
    g_pBeginThread = &patch;
    g_Calls.FailAt(1);
    Expect({ info, info }, 4,
           { "Failed: BeginThread() failed.", "Failed: CheckComObject( MTA ) failed.[clsid:\"Lonely\"]",
             "Failed: BeginThread() failed.", "Failed: CheckComObject( MTA ) failed.[clsid:\"Lonely\"]" });
    g_Calls.FailAt(2);
    Expect({ info }, 3, { "Failed: BeginThread( CheckInterfaceMTA ) failed.", "Failed: BeginThread() failed.", "Failed: CheckComObject( STA ) failed.[clsid:\"Lonely\"]" });
    g_Calls.FailAt(3);
    Expect({ info }, 3,
           { Answered("MTA -> MTA", info, L"IPersist"), Answered("MTA -> MTA", info, L"IVlmIdentity"), "Failed: BeginThread( CheckInterfaceSTA ) failed.",
             "Failed: BeginThread() failed.", "Failed: CheckComObject( STA ) failed.[clsid:\"Lonely\"]" });
}

const CImportPatch<decltype(::MsgWaitForMultipleObjects)>* g_pMsgWait;
DWORD WINAPI FailingMsgWait(DWORD nCount, const HANDLE* pHandles, BOOL bAll, DWORD dwTimeout, DWORD dwMask)
{
    if (!g_Calls.Fails())
        return g_pMsgWait->Original()(nCount, pHandles, bAll, dwTimeout, dwMask);
    ::WaitForSingleObject(*pHandles, INFINITE); // the thread's lines are complete
    ::SetLastError(ERROR_ACCESS_DENIED);
    return WAIT_FAILED;
}

// Scripts know the crosswise names: the wait for the MTA thread is told as one for "pThreadSTA".
TEST_F(ComObjectChecker, TellsFailedWaitsByTheCrosswiseNames)
{
    CComObjectInfo info = m_Classes.Add(L"Free", L"Both", L"free-threaded");
    info.Interfaces.erase(L"IPersist");
    const CImportPatch<decltype(::MsgWaitForMultipleObjects)> patch("MsgWaitForMultipleObjects", FailingMsgWait);
    g_pMsgWait = &patch;
    g_Calls.FailAt(1);
    const std::string sMta = "pThreadSTA->WaitThreadWithMessagePump() failed.[0x80070005]";
    Expect({ info }, 2, { Answered("MTA -> MTA", info, L"IVlmIdentity"), sMta, Answered("STA -> MTA", info, L"IVlmIdentity"), sMta });
}

const CImportPatch<decltype(::CoInitializeEx)>* g_pCoInitialize;
HRESULT WINAPI FailingCoInitialize(void* pReserved, DWORD dwApartment)
{
    return g_Calls.Fails() ? E_OUTOFMEMORY : g_pCoInitialize->Original()(pReserved, dwApartment);
}

TEST_F(ComObjectChecker, CountsApartmentsThatDoNotStart)
{
    const CComObjectInfo info = m_Classes.Add(L"Homeless", L"Both");
    CComObjectInfo dummy = info;
    dummy.nRegType = CComObjectInfo::RegType_SxsDummy;
    const CImportPatch<decltype(::CoInitializeEx)> patch("CoInitializeEx", FailingCoInitialize);
    g_pCoInitialize = &patch;
    const std::string sMta = "Failed: CoInitializeEx( MTA ) failed.[0x8007000E]", sSta = "Failed: CoInitializeEx( STA ) failed.[0x8007000E]";
    g_Calls.FailAt(1);
    Expect({ info, dummy }, 4, { sMta, sSta, sMta, sSta });
    g_Calls.FailAt(2); // the MTA run has its own apartment, nobody else has one
    Expect({ info }, 3, { sMta, sSta, sSta });
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor" // as every COM interface
// A table in which nothing is ever found.
class CFailingTable final : public IGlobalInterfaceTable
{
public:
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP RegisterInterfaceInGlobal(IUnknown*, REFIID, DWORD* pdwCookie) override
    {
        *pdwCookie = 42;
        return S_OK;
    }
    STDMETHODIMP RevokeInterfaceFromGlobal(DWORD dwCookie) override
    {
        m_nRevoked += dwCookie == 42 ? 1 : 0;
        return S_OK;
    }
    STDMETHODIMP GetInterfaceFromGlobal(DWORD, REFIID, void**) override { return E_INVALIDARG; }

    int m_nRevoked = 0;
};
#pragma GCC diagnostic pop
CFailingTable* g_pTable; // null: none can be had
const CImportPatch<decltype(::CoCreateInstance)>* g_pCoCreate;

HRESULT WINAPI CreateWithFailingTable(REFCLSID rClsid, IUnknown* pOuter, DWORD dwContext, REFIID rIid, void** ppObject)
{
    if (rClsid != CLSID_StdGlobalInterfaceTable)
        return g_pCoCreate->Original()(rClsid, pOuter, dwContext, rIid, ppObject);
    *ppObject = g_pTable;
    return g_pTable != nullptr ? S_OK : E_OUTOFMEMORY;
}

// A failed look-up is told but not counted, so that the success line follows; that is how result files have always been.
TEST_F(ComObjectChecker, TellsAFailedTableWithoutCountingTheLookUp)
{
    const CComObjectInfo info = m_Classes.Add(L"Lost", L"Both");
    CFailingTable table;
    g_pTable = &table;
    const CImportPatch<decltype(::CoCreateInstance)> patch("CoCreateInstance", CreateWithFailingTable);
    g_pCoCreate = &patch;
    const std::string sLookUp = "Failed: GetInterfaceFromGlobal() failed.[0x80070057]";
    Expect({ info }, 0, { sLookUp, sLookUp, Worked("MTA", info), sLookUp, sLookUp, Worked("STA", info) });
    EXPECT_EQ(table.m_nRevoked, 2);
    g_pTable = nullptr;
    const std::string sCreate = "Failed: CoCreateInstance(GIT) failed.[0x8007000E]";
    Expect({ info }, 2, { sCreate, sCreate });
}

// A fault is no exception: it must reach the platform's crash report. In a process of its own, started with the class.
TEST_F(ComObjectChecker, LeavesAccessViolationsToThePlatform)
{
    const wchar_t* const pVariable = L"KELVARIN_FAULTING_CLASS";
    wchar_t aClass[40] = L"";
    if (::GetEnvironmentVariableW(pVariable, aClass, 40) != 0)
    {
        CComObjectInfo info = m_Classes.Unregistered(L"Faulting");
        EXPECT_EQ(::CLSIDFromString(aClass, &info.clsid), S_OK);
        RunComCheck({ info });
        return;
    }
    const CComObjectInfo info = m_Classes.Add(L"Faulting", L"Both", L"fault-construct");
    ::StringFromGUID2(info.clsid, aClass, 40);
    ::SetEnvironmentVariableW(pVariable, aClass);
    std::wstring sCommand = std::wstring(::GetCommandLineW()) + L" --gtest_brief=1 --gtest_filter=ComObjectChecker.LeavesAccessViolationsToThePlatform";
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION process{};
    ASSERT_TRUE(::CreateProcessW(nullptr, sCommand.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &process));
    ::SetEnvironmentVariableW(pVariable, nullptr);
    const CKernelHandle hProcess(process.hProcess), hThread(process.hThread);
    EXPECT_EQ(::WaitForSingleObject(process.hProcess, 20'000), WAIT_OBJECT_0);
    DWORD dwExitCode = 0;
    EXPECT_TRUE(::GetExitCodeProcess(process.hProcess, &dwExitCode));
    EXPECT_EQ(dwExitCode, static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION));
}

} // namespace
