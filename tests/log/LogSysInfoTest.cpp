#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "log/LogFactories.h"
#include "log/LogSysInfo.h"
#include "platform/CodePage.h"
#include "support/Golden.h"

using namespace opLogSys;

namespace
{

const char* KindOf(IOutputLogSystemFactory* pFactory)
{
    return dynamic_cast<File::COutputLogSystemFactory*>(pFactory) != nullptr   ? "File"
           : dynamic_cast<Ods::COutputLogSystemFactory*>(pFactory) != nullptr  ? "Ods"
           : dynamic_cast<Null::COutputLogSystemFactory*>(pFactory) != nullptr ? "Null"
                                                                               : "unknown";
}

// The file is written by support staff by hand: what it says wrongly must leave the defaults and never end the program.
// Each document of data/log/configurations becomes "name: factory, filters", and the levels that pass for a subject.
TEST(LogSysInfo, ReadsTheConfiguration)
{
    const CTestFolder folder;
    const std::wstring sLong(65536, L'L');
    std::map<std::string, std::string> Read;
    for (const auto& rEntry : std::filesystem::directory_iterator(TEST_DATA L"/log/configurations"))
    {
        const std::wstring sName = rEntry.path().filename().wstring();
        const auto pInfo = Common::CReference<CLogSysInfoFromXML>::Own(
            new CLogSysInfoFromXML(folder.Write(L"100%23 a.log.xml", Document(L"log/configurations/" + sName, sLong))));
        const auto pFactory = Common::CReference<IOutputLogSystemFactory>::Own(pInfo->GetFactory());
        const auto pFilter = Common::CReference<ILogFilter>::Own(pInfo->GetFilter());
        std::string& rsRead = Read[Utf8(sName)];
        rsRead = KindOf(pFactory.Get()) + std::string(pFilter->HasEntries() == S_OK ? ", filters\r\n" : "\r\n");
        for (const std::wstring& sSubject :
             { std::wstring(L"A"), std::wstring(L"a"), std::wstring(L"B"), std::wstring(), sLong })
        {
            std::string sLevels;
            for (LONG nLevel = -6; nLevel <= 40; ++nLevel)
                sLevels += pFilter->IsTarget(sSubject, nLevel) == S_OK ? ' ' + std::to_string(nLevel) : "";
            if (!sLevels.empty())
                rsRead += "  " + Utf8(sSubject.substr(0, 10)) + ':' + sLevels + "\r\n";
        }
    }
    std::string sAll;
    for (const auto& [sName, sRead] : Read)
        sAll += sName + ": " + sRead;
    ExpectGolden(L"log/Configurations.txt", sAll, L"");
}

} // namespace
