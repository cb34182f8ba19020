// The small checkers, and the manager that runs all five.
#include "check/CheckRun.h"
#include "check/InstallCheckManager.h"
#include "config/ConfigFile.h"
#include "support/FakeRoots.h"
#include "support/ProgressWatch.h"

namespace
{

// The stages' order and texts are what the user sees; the count of the whole run decides between OK and NG.
TEST(InstallCheckManager, RunsAndAddsUpTheStagesInTheirOrder)
{
    const CTestFolder folder;
    CConfigFile config;
    config.m_FileInfos = { { folder / L"gone", L"", L"", L"", L"" },
                           { folder.Path(), L"", L"", L"", L"" },
                           { folder / L"lost", L"", L"", L"", L"" } };
    config.m_RegistryInfos.emplace_back().sKeyPath = L"no root";
    // A missing service must be found, and the next one looked at.
    config.m_NtServiceInfos = { L"PlugPlay", L"no \"%s\" service", L"", L"rpcss" };
    // Only a registration from exactly this file is wrong; anything else must pass, or every second PC would fail.
    const std::wstring sLong(519, L'x');
    const auto Class = [](BYTE nClass) { return CLSID{ 0, 0, 0, { 0, 0, 0, 0, 0, 0, 0, nClass } }; };
    config.m_NoRegisteredComObjectInfos = {
        { L"registered from this file", Class(1), L"c:\\dir\\THING.DLL" },
        { L"from another one", Class(1), L"C:\\Other\\Thing.dll" },
        { L"from this one by another name", Class(1), L"C:\\Dir\\.\\Thing.dll" },
        { L"without a class %d", Class(0), L"C:\\Dir\\Thing.dll" },
        { L"without a path", Class(2), L"" },
        { L"unexpanded", Class(3), L"%systemroot%\\thing.dll" },
        { L"of the longest path", Class(4), sLong },
        { L"of a longer one", Class(5), sLong + L'x' },
    };
    const CFakeRoots roots(L"check/Classes.reg");
    CProgressWatch progress;
    const std::string sLines = CountedLines([&](CResultLog& rLog, UINT32* pulFailed) {
        return CInstallCheckManager(config, rLog, folder.Path()).CheckInstallationStatus(pulFailed);
    });
    ExpectGolden(L"check/Stages.txt", sLines + progress.Seen(), folder.Path());
}

} // namespace
