#include "support/Golden.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "platform/Format.h"

namespace
{

void Replace(std::string& rsText, std::string_view sWhat, std::string_view sBy)
{
    for (std::size_t n = sWhat.empty() ? rsText.npos : 0; (n = rsText.find(sWhat, n)) != rsText.npos; n += sBy.size())
        rsText.replace(n, sWhat.size(), sBy);
}

} // namespace

std::string Document(std::wstring_view sName, const std::wstring& sFolder)
{
    std::string sText = ReadBytes(TEST_DATA L"\\" + std::wstring(sName));
    Replace(sText, "$", Utf8(sFolder));
    return sText;
}

void MakeFiles(const CTestFolder& rFolder, std::wstring_view sName, const std::string& sMark)
{
    std::istringstream Lines(Document(sName));
    for (std::string sPath; std::getline(Lines, sPath);)
        rFolder.Write(std::wstring(sPath.begin(), sPath.end()), sMark + sPath + "\r\n");
}

std::string FilesBelow(const std::wstring& sFolder)
{
    std::map<std::wstring, std::string> Files;
    for (const auto& rEntry : std::filesystem::recursive_directory_iterator(sFolder))
    {
        const std::wstring sName = rEntry.path().wstring().substr(sFolder.size() + 1);
        if (!rEntry.is_directory())
            Files[sName] = "== " + Utf8(sName) + "\r\n" + ReadBytes(rEntry.path().wstring());
        else if (std::filesystem::is_empty(rEntry))
            Files[sName] = "== " + Utf8(sName) + "\\\r\n";
    }
    std::string sAll;
    for (const auto& [sName, sText] : Files)
        sAll += sText;
    return sAll;
}

std::string Outcome(const std::wstring& sFolder, const CLogWatch& rWatch)
{
    return FilesBelow(sFolder) + "== log\r\n" + Joined(rWatch.Records());
}

std::string Joined(const std::vector<std::string>& Lines)
{
    std::string sText;
    for (const std::string& sLine : Lines)
        sText += sLine + "\r\n";
    return sText;
}

void ExpectGolden(std::wstring_view sName, std::string sText, const std::wstring& sFolder)
{
    static const std::regex Banner(R"(\[\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\] Version \d+\.\d+\.\d+\.\d+\r\n)");
    sText = std::regex_replace(sText, Banner, "[banner]\r\n");
    Replace(sText, Utf8(sFolder), "$");
    Replace(sText, "\n", "<LF>\n");
    Replace(sText, "\r<LF>", "");
    for (std::size_t n = 0; n < sText.size(); ++n)
    {
        const int nByte = static_cast<unsigned char>(sText[n]);
        if (nByte > 0x7F)
            sText.replace(n, 1, Utf8(FormatText(L"<%02X>", nByte)));
    }
    EXPECT_EQ(sText, Document(sName)) << Utf8(sName);
    const std::filesystem::path Actual = std::filesystem::path(L"C:\\kelvarin-tests\\actual") / sName;
    std::filesystem::remove(Actual);
    if (sText == Document(sName))
        return;
    std::filesystem::create_directories(Actual.parent_path());
    std::ofstream(Actual, std::ios::binary) << sText;
}
