#include "support/FakeRoots.h"

#include <iomanip>
#include <sstream>
#include <vector>

#include "platform/Text.h"
#include "platform/WideText.h"
#include "support/Golden.h"

namespace
{

// "hex:0a,ff" or "hex(2):..."
void SetBytes(const CScratchKey& rKey, const std::wstring& sName, const std::string& sValue)
{
    const DWORD dwType = sValue[3] == '(' ? std::stoul(sValue.substr(4), nullptr, 16) : REG_BINARY;
    std::vector<BYTE> Data;
    for (std::size_t n = sValue.find(':') + 1; n < sValue.size(); n += 3)
        Data.push_back(static_cast<BYTE>(std::stoul(sValue.substr(n, 2), nullptr, 16)));
    // A zero behind an unterminated text would be stored with it, uncounted.
    Data.insert(Data.end(), 2, 0xFF);
    rKey.Set(sName.c_str(), dwType, std::span(Data).first(Data.size() - 2));
}

// "name"="text", "name"=dword:0000000a or "name"=hex...; "@" is the name of the key's own value.
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
    if (bText)
        rKey.SetText(ToWide(sName).c_str(), ToWide(sValue));
    else if (sValue.starts_with("dword:"))
        rKey.SetDword(ToWide(sName).c_str(), std::stoul(sValue.substr(6), nullptr, 16));
    else
        SetBytes(rKey, ToWide(sName), sValue);
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
