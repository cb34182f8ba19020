#include <gmock/gmock.h>

#include "log/LogFactories.h"
#include "log/LogSysInfo.h"
#include "support/TestFolder.h"

using namespace opLogSys;

namespace
{

std::string Factory(const std::string& sClass, const std::string& sName = "IOutputLogSystemFactory")
{
    return "<FACTORY name='" + sName + "' class='opLogSys::" + sClass +
           "::COutputLogSystemFactory' location='current'/>";
}
std::string Filters(const std::string& sFilters)
{
    return "<FILTERLIST>" + sFilters + "</FILTERLIST>";
}

const char* KindOf(IOutputLogSystemFactory* pFactory)
{
    return dynamic_cast<File::COutputLogSystemFactory*>(pFactory) != nullptr   ? "File"
           : dynamic_cast<Ods::COutputLogSystemFactory*>(pFactory) != nullptr  ? "Ods"
           : dynamic_cast<Null::COutputLogSystemFactory*>(pFactory) != nullptr ? "Null"
                                                                               : "unknown";
}

// The file is written by support staff by hand: what it says wrongly must leave the defaults and never end the program.
TEST(LogSysInfo, ReadsTheConfiguration)
{
    const std::string sLong(65536, 'L');
    std::string sLaughs = "<!DOCTYPE r [<!ENTITY a0 'ha'>";
    for (int n = 1; n <= 12; ++n)
    {
        sLaughs += "<!ENTITY a" + std::to_string(n) + " '";
        for (int k = 0; k < 10; ++k)
            sLaughs += "&a" + std::to_string(n - 1) + ";";
        sLaughs += "'>";
    }
    struct CLevel
    {
        std::string sSubject;
        LONG nLevel;
        bool bPasses;
    };
    const struct
    {
        const char* pWhat;
        std::string sXml;
        const char* pFactory;
        bool bEntries;
        std::vector<CLevel> Levels;
    } aCases[] = {
        { "empty file", "", "Null", false, { { "A", 10, false } } },
        { "file", "<r>" + Factory("File") + "</r>", "File", false, {} },
        { "debugger", "<any><other/>text" + Factory("Ods") + "</any>", "Ods", false, {} },
        { "unknown class wins too",
          "<r>" + Factory("File") + Factory("Fax") + Filters("<FILTER subject='A' maxLevel='10'/>") + "</r>",
          "Null",
          true,
          { { "A", 10, true } } },
        { "ranges",
          "<r>" + Filters("<x/><FILTER subject='A' minLevel='3' maxLevel='9'/><FILTER subject='B' maxLevel='10'/>") +
              "</r>",
          "Null",
          true,
          { { "A", 2, false },
            { "A", 3, true },
            { "A", 9, true },
            { "A", 10, false },
            { "a", 5, false },
            { "B", 10, true },
            { "C", 10, false } } },
        { "absent numbers",
          "<r>" + Filters("<FILTER subject='A'/><FILTER minLevel='x' maxLevel='7z'/>") + "</r>",
          "Null",
          true,
          { { "A", 0, true }, { "A", 1, false }, { "", 7, true } } },
        { "replaced, then appended",
          "<r>" +
              Filters("<FILTER subject='A' minLevel='0' maxLevel='10'/><FILTER subject='A' minLevel='5' "
                      "maxLevel='8'/><FILTER subject='A' minLevel='7' maxLevel='30'/>") +
              "</r>",
          "Null",
          true,
          { { "A", 4, false }, { "A", 5, true }, { "A", 9, true }, { "A", 30, true }, { "A", 31, false } } },
        { "long attributes",
          "<r><FACTORY name='" + sLong + "' class='" + sLong + "'/>" +
              Filters("<FILTER subject='" + sLong + "' maxLevel='10'/>") + "</r>",
          "Null",
          true,
          { { sLong, 10, true }, { sLong + "L", 10, false } } },
        { "numbers beyond",
          "<r>" + Filters("<FILTER subject='A' minLevel='-5' maxLevel='99999999999999999999'/>") + "</r>",
          "Null",
          true,
          { { "B", 0, false } } },
        { "exploding entities",
          sLaughs + "]><r>" + Filters("<FILTER subject='&a12;' maxLevel='10'/>") + "</r>",
          "Null",
          false,
          {} },
        { "entity of a file",
          "<!DOCTYPE r [<!ENTITY f SYSTEM 'file:///C:/windows/win.ini'>]><r>" +
              Filters("<FILTER subject='&f;' maxLevel='10'/>") + "</r>",
          "Null",
          false,
          {} },
    };
    const CTestFolder folder;
    for (const auto& rCase : aCases)
    {
        const auto pInfo = Common::CReference<CLogSysInfoFromXML>::Own(
            new CLogSysInfoFromXML(folder.Write(L"100%23 a.log.xml", rCase.sXml)));
        const auto pFactory = Common::CReference<IOutputLogSystemFactory>::Own(pInfo->GetFactory());
        const auto pFilter = Common::CReference<ILogFilter>::Own(pInfo->GetFilter());
        EXPECT_STREQ(KindOf(pFactory.Get()), rCase.pFactory) << rCase.pWhat;
        EXPECT_EQ(pFilter->HasEntries(), rCase.bEntries ? S_OK : E_FAIL) << rCase.pWhat;
        for (const CLevel& rLevel : rCase.Levels)
            EXPECT_EQ(pFilter->IsTarget(std::wstring(rLevel.sSubject.begin(), rLevel.sSubject.end()), rLevel.nLevel),
                      rLevel.bPasses ? S_OK : E_FAIL)
                << rCase.pWhat << ": " << rLevel.nLevel;
    }
}

} // namespace
