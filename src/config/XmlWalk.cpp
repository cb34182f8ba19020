#include "config/XmlWalk.h"

using Microsoft::WRL::ComPtr;

void WalkElements(const CFunctionLog& log, IXMLDOMNode* pParent, const std::wstring& sSelection,
                  const std::wstring& sPattern, const CListNames& rNames,
                  const std::function<void(const CXmlElement&)>& visit)
{
    ComPtr<IXMLDOMNodeList> pList;
    HRESULT hr = pParent->selectNodes(CBstr(sSelection).Get(), &pList);
    if (hr != S_OK || !pList)
        log.Fail(E_FAIL, L"pXmlDoc->selectNodes( \"%ls\" ) failed.[0x%08X]", sPattern, hr);
    LONG nCount = 0;
    hr = pList->get_length(&nCount);
    if (hr != S_OK)
        log.Fail(E_FAIL, L"%s->get_length() failed.[0x%08X]", rNames.pList, hr);
    for (LONG n = 0; n < nCount; ++n)
    {
        const auto nIndex = static_cast<UINT32>(n);
        ComPtr<IXMLDOMNode> pNode;
        hr = pList->nextNode(&pNode);
        if (hr != S_OK || !pNode) // named after the single selection that finds the same node
            log.Fail(E_FAIL, L"pXmlDoc->selectSingleNode( \"%ls[%u]\" ) failed.[0x%08X]", sPattern, nIndex, hr);
        ComPtr<IXMLDOMElement> pElement;
        if (FAILED(pNode.As(&pElement)))
            log.Fail(E_FAIL, L"%s->QueryInterface( IXMLDOMElement ) failed.", rNames.pNode);
        visit(CXmlElement(pElement.Get(), sPattern, nIndex));
    }
}

CAttributeTable::CAttributeTable(std::initializer_list<CEntry> Entries)
{
    for (const CEntry& rEntry : Entries)
        m_Rows.push_back({ CBstr(rEntry.pName), rEntry.psText });
}

void CAttributeTable::Read(const CFunctionLog& log, const CXmlElement& rElement, bool bBareMessage) const
{
    CVariant value;
    for (const CRow& rRow : m_Rows)
    {
        rRow.psText->clear();
        if (rElement.Get()->getAttribute(rRow.name.Get(), value.Put()) != S_OK)
            continue;
        if (value.IsText())
            *rRow.psText = value.Text();
        else if (bBareMessage)
            log.Assert(L"val.vt != VT_BSTR.");
        else
            log.Assert(L"name:\"%ls\" val.vt != VT_BSTR.", static_cast<const wchar_t*>(rRow.name.Get()));
    }
}
