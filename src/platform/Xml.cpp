#include "platform/Xml.h"

#include "platform/ComText.h"
#include "platform/SystemLibrary.h"

using Microsoft::WRL::ComPtr;

namespace
{

// The plain DOM document; the import libraries do not carry its identity.
constexpr CLSID ClsidDomDocument{ 0x2933BF90, 0x7B36, 0x11D2, { 0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60 } };

// load takes a URL: it would unescape "%20" in a plain path, and cut it at other signs that mean something in a URL.
// A file URL with these signs escaped means the same file whatever its name holds.
std::wstring LoadText(const std::wstring& sPath)
{
    if (sPath.find_first_of(L"%#") == sPath.npos)
        return sPath;
    std::wstring sUrl = sPath.starts_with(L"\\\\") ? L"file:" : L"file:///";
    for (const wchar_t c : sPath)
    {
        if (c == L'%')
            sUrl += L"%25";
        else if (c == L'#')
            sUrl += L"%23";
        else
            sUrl += c == L'\\' ? L'/' : c;
    }
    return sUrl;
}

} // namespace

HRESULT CreateXmlDocument(DWORD dwContext, ComPtr<IXMLDOMDocument>& rpDocument)
{
    // Once it is here from the system folder, no way to the class leads to a file of its name beside the program.
    [[maybe_unused]] static const HMODULE s_hParser = LoadSystemLibrary(L"msxml3.dll").Detach();
    return ::CoCreateInstance(ClsidDomDocument, nullptr, dwContext, __uuidof(IXMLDOMDocument),
                              reinterpret_cast<void**>(rpDocument.ReleaseAndGetAddressOf()));
}

HRESULT LoadXmlFile(IXMLDOMDocument* pDocument, const std::wstring& sPath, VARIANT_BOOL& rbLoaded)
{
    const CVariant path(LoadText(sPath));
    return pDocument->load(path.Get(), &rbLoaded);
}

std::wstring XmlAttributeText(IXMLDOMNode* pNode, const wchar_t* pName)
{
    ComPtr<IXMLDOMElement> pElement;
    CVariant value;
    if (FAILED(pNode->QueryInterface(__uuidof(IXMLDOMElement), reinterpret_cast<void**>(pElement.GetAddressOf()))) ||
        pElement->getAttribute(CBstr(pName).Get(), value.Put()) != S_OK)
        return {};
    return value.Text();
}

std::wstring XmlNodeName(IXMLDOMNode* pNode)
{
    CBstr name;
    return pNode->get_nodeName(name.Put()) == S_OK ? name.Text() : std::wstring();
}
