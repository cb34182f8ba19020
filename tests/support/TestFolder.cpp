#include "support/TestFolder.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "platform/CodePage.h"
#include "platform/Format.h"

CTestFolder::CTestFolder()
{
    static LONG s_nCount = 0;
    m_sPath = FormatText(L"C:\\kelvarin-tests\\%u-%u", ::GetCurrentProcessId(), ::InterlockedIncrement(&s_nCount));
    std::filesystem::create_directories(m_sPath);
}

CTestFolder::~CTestFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_sPath, ignored);
}

std::wstring CTestFolder::Write(std::wstring_view sName, std::string_view sBytes) const
{
    const std::filesystem::path Path = *this / sName;
    std::filesystem::create_directories(Path.parent_path());
    std::ofstream File(Path, std::ios::binary);
    if (!File.write(sBytes.data(), static_cast<std::streamsize>(sBytes.size())))
        throw std::runtime_error("cannot write " + Path.string());
    return Path.wstring();
}

std::string ReadBytes(const std::wstring& sPath)
{
    std::ifstream File(std::filesystem::path(sPath), std::ios::binary);
    if (!File)
        throw std::runtime_error("cannot read " + Utf8(sPath));
    return { std::istreambuf_iterator<char>(File), {} };
}

std::string Utf8(std::wstring_view sText)
{
    return ToNarrow(sText, CP_UTF8);
}
