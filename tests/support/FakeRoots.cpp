#include "support/FakeRoots.h"

#include <iomanip>
#include <sstream>

#include "platform/CodePage.h"
#include "platform/Text.h"
#include "support/Golden.h"

namespace
{

// "name"="text", "name"=dword:0000000a, "name"=hex:0a,ff or "name"=hex(2):...; "@" is the name of the key's own value.
void SetValue(const CScratchKey& rKey, const std::string& sLine)
{
    std::istringstream Line(sLine);
    std::string sName, sValue;
    if (Line.peek() == '@')
        Line.ignore();
    else
        Line >> std::quoted(sName);
    Line.ignore(); // "="
    const bool bText = Line.peek() == '"';
    Line >> std::quoted(sValue);
    const std::wstring sWideName = ToWide(sName);
    if (bText)
        return rKey.SetText(sWideName.c_str(), ToWide(sValue));
    const std::size_t nAt = sValue.find(':') + 1;
    if (sValue.starts_with("dword"))
        return rKey.SetDword(sWideName.c_str(), std::stoul(sValue.substr(nAt), nullptr, 16));
    std::string sData;
    for (std::size_t n = nAt; n < sValue.size(); n += 3)
        sData += static_cast<char>(std::stoul(sValue.substr(n, 2), nullptr, 16));
    // A zero behind an unterminated text would be stored with it, uncounted.
    sData += "\xFF\xFF";
    rKey.Set(sWideName.c_str(), nAt > 4 ? std::stoul(sValue.substr(4), nullptr, 16) : REG_BINARY, sData.data(),
             sData.size() - 2);
}

} // namespace

CFakeRoots::CFakeRoots(std::wstring_view sDocument, const std::wstring& sFolder)
{
    std::wstring sEscaped = sFolder;
    ReplaceAll(sEscaped, L"\\", L"\\\\");
    const std::string sText = Document(sDocument, sEscaped);
    std::istringstream Lines(sText);
    for (std::string sLine; std::getline(Lines, sLine);)
    {
        if (sLine.starts_with("[HKEY_"))
            m_Keys.emplace_back(Root + ToWide(sLine.substr(6, sLine.size() - 7)));
        else if (sLine.starts_with("\"") || sLine.starts_with("@"))
            SetValue(m_Keys.back(), sLine);
    }
    if (sText.find("\n[HKEY_CLASSES_ROOT") != sText.npos)
        ::RegOverridePredefKey(HKEY_CLASSES_ROOT, m_Classes.Get());
    ::RegOverridePredefKey(HKEY_CURRENT_USER, m_User.Get());
    ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_Machine.Get());
}

CFakeRoots::~CFakeRoots()
{
    for (const HKEY hRoot : { HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE })
        ::RegOverridePredefKey(hRoot, nullptr);
}
