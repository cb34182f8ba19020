// Walking the lists of the manifest, with the failure texts that support desks know.
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "log/FunctionLog.h"
#include "platform/ComText.h"
#include "platform/Xml.h"

// An element of a list, and its place there for messages: the list's pattern with the element's index.
class CXmlElement
{
public:
    CXmlElement(IXMLDOMElement* pElement, const std::wstring& sListPattern, UINT32 nIndex)
        : m_pElement(pElement),
          m_sListPattern(sListPattern),
          m_nIndex(nIndex)
    {
    }
    IXMLDOMElement* Get() const { return m_pElement; }
    std::wstring Pattern() const { return FormatText(L"%ls[%u]", m_sListPattern, m_nIndex); }

private:
    IXMLDOMElement* m_pElement;
    const std::wstring& m_sListPattern;
    UINT32 m_nIndex;
};

// What a list and its nodes are called in messages.
struct CListNames
{
    const wchar_t* pList;
    const wchar_t* pNode;
};

// Visits the elements below pParent that the pattern selects, in document order: one selection and one enumeration,
// so the time grows with their number. sPattern is the whole pattern for messages, sSelection what is asked of
// pParent. Throws E_FAIL, with its record in the caller's name, when the DOM fails.
void WalkElements(const CFunctionLog& log, IXMLDOMNode* pParent, const std::wstring& sSelection,
                  const std::wstring& sPattern, const CListNames& rNames,
                  const std::function<void(const CXmlElement&)>& visit);

// A table of attributes and where their texts go; made once for a list and used for each of its elements.
class CAttributeTable
{
public:
    struct CEntry
    {
        const wchar_t* pName;
        std::wstring* psText;
    };
    CAttributeTable(std::initializer_list<CEntry> Entries);

    // Stores each attribute's text, empty where it is missing. A value of another type than text is recorded, with the
    // attribute's name unless bBareMessage is set.
    void Read(const CFunctionLog& log, const CXmlElement& rElement, bool bBareMessage = false) const;

private:
    struct CRow
    {
        CBstr name;
        std::wstring* psText;
    };
    std::vector<CRow> m_Rows;
};
