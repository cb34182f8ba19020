// The platform's XML DOM, as far as the manifest and the log configuration need it.
#pragma once

#include <wrl/client.h>

#include <msxml.h>

#include <string>

#include "platform/Win32.h"

// Identities that the headers declare and no import library carries.
__CRT_UUID_DECL(IXMLDOMDocument, 0x2933BF81, 0x7B36, 0x11D2, 0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60)
__CRT_UUID_DECL(IXMLDOMElement, 0x2933BF86, 0x7B36, 0x11D2, 0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60)

// A new document object.
[[nodiscard]] HRESULT CreateXmlDocument(DWORD dwContext, Microsoft::WRL::ComPtr<IXMLDOMDocument>& rpDocument);

// The document's load, from a file, with the result flag that the DOM gives beside its code.
[[nodiscard]] HRESULT LoadXmlFile(IXMLDOMDocument* pDocument, const std::wstring& sPath, VARIANT_BOOL& rbLoaded);

// Empty where the node is no element or lacks the attribute.
[[nodiscard]] std::wstring XmlAttributeText(IXMLDOMNode* pNode, const wchar_t* pName);
[[nodiscard]] std::wstring XmlNodeName(IXMLDOMNode* pNode);

// Calls visit(IXMLDOMNode*) for each child in document order.
template <typename Visit>
void ForEachChild(IXMLDOMNode* pNode, const Visit& visit)
{
    Microsoft::WRL::ComPtr<IXMLDOMNode> pChild;
    pNode->get_firstChild(&pChild);
    while (pChild)
    {
        visit(pChild.Get());
        Microsoft::WRL::ComPtr<IXMLDOMNode> pNext;
        pChild->get_nextSibling(&pNext);
        pChild = pNext;
    }
}
