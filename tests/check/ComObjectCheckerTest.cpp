#include <windows.h>

#include <objbase.h>

#include "check/ComTestClasses.h"
#include "platform/Format.h"
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
            all.push_back(rCase.Inner[n] ? Answered(Ways[n], bad, L"IVlmInner")
                                         : Refused(Ways[n], bad, L"IVlmInner", E_NOINTERFACE));
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
    const std::pair<CComObjectInfo, HRESULT> Cases[] = {
        { zeros, REGDB_E_CLASSNOTREG },
        { m_Classes.Unregistered(L"Nobody"), REGDB_E_CLASSNOTREG },
        { m_Classes.Add(L"Missing", L"Both", L"", L"C:\\nowhere\\none.dll"), NoServer },
        { m_Classes.Add(L"Text", L"Both", L"", sText), NoServer },
        { m_Classes.Add(L"NoEntry", L"Both", L"", L"C:\\windows\\system32\\version.dll"), NoServer },
        { m_Classes.Add(L"NoClass", L"Both", L"no-class"), NoServer },
        { m_Classes.Add(L"Failure", L"Both", L"fail-object"), E_ACCESSDENIED },
        { m_Classes.Add(L"Null", L"Both", L"null-object"), E_POINTER },
    };
    for (const auto& [info, hr] : Cases)
        Expect({ info }, 2, { NotCreated("MTA", info, hr), NotCreated("STA", info, hr) });
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
    Expect({ query }, 4,
           { Threw("MTA -> MTA", query), Threw("MTA -> STA", query), Threw("STA -> MTA", query),
             Threw("STA -> STA", query) });
    const CComObjectInfo filter = m_Classes.AddFilter(L"Filter", L"throw-query");
    Expect({ filter }, 1, { Threw("STA", filter) });
    const CComObjectInfo release = m_Classes.Add(L"Release", L"Both", L"throw-release");
    Expect({ release }, 2,
           AllWell("MTA", release) + Lines{ Threw("MTA", release) } + AllWell("STA", release) +
               Lines{ Threw("STA", release) });
    EXPECT_EQ(m_Classes.AliveObjects(), nAlive);
    EXPECT_THAT(watch.Records(),
                IsSupersetOf({ EndsWith("] " + Threw("STA -> MTA", query)), EndsWith("] " + Threw("STA", filter)) }));
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
    const std::pair<std::wstring, bool> Cases[] = {
        { L"anyWHERE", false },
        { L"C:\\elsewhere\\VlmObjects.dll", false },
        { sServer, true },
        { sServer.substr(0, nName) + L"\\x\\..\\.\\VLMOBJECTS.DLL", true },
    };
    for (const auto& [sFilePath, bRegistered] : Cases)
    {
        SCOPED_TRACE(Utf8(sFilePath));
        info.sFilePath = sFilePath;
        Expect({ info }, bRegistered ? 2 : 0, bRegistered ? registered : AllWell(info));
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
    const std::string sClsid =
        NotCreated("MTA", present, 0).substr(sizeof "Failed: CoCreateInstance() failed.[0x00000000]" - 1);
    const std::string sClsidSta =
        NotCreated("STA", present, 0).substr(sizeof "Failed: CoCreateInstance() failed.[0x00000000]" - 1);
    Expect({ present }, 2,
           { "Failed: CoCreateInstance() succeeded." + sClsid, "Failed: CoCreateInstance() succeeded." + sClsidSta });
    present.nRegType = 3;
    Expect({ present }, 2, { "Failed: Unknown com-reg-type.", "Failed: Unknown com-reg-type." });
}

} // namespace
