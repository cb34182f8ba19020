// The manifest's COM objects and DirectShow filters.
#include "config/ComNameTable.h"
#include "config/ConfigFile.h"
#include "config/XmlWalk.h"
#include "platform/Text.h"

namespace
{

// What the two sections do differently.
struct CComSection
{
    std::wstring sPattern;
    INT32 nApartment;
    bool bAllApartments;
    bool bInterfacesByName; // an interface's identity always comes from the name table, whatever "iid" says
};

INT32 RegTypeOf(const CFunctionLog& log, const std::wstring& sText)
{
    static constexpr const wchar_t* aNames[] = { L"normal", L"sxs", L"sxs-dummy" };
    for (INT32 n = CComObjectInfo::RegType_Normal; n <= CComObjectInfo::RegType_SxsDummy; ++n)
    {
        if (EqualsNoCase(sText, aNames[n]))
            return n;
    }
    log.Throw(E_FAIL, L"found unknown registory type.");
}

void LoadSection(const CFunctionLog& log, const CConfigFile& rConfig, const CComSection& rSection,
                 IXMLDOMDocument* pDocument, std::vector<CComObjectInfo>& rInfos)
{
    CComObjectInfo info;
    info.nApartment = rSection.nApartment;
    info.bAllApartments = rSection.bAllApartments;
    std::wstring sClsid, sRegType, sInterface, sIid;
    const CAttributeTable ClassAttributes{
        { L"name", &info.sName }, { L"clsid", &sClsid }, { L"reg-type", &sRegType }, { L"file-path", &info.sFilePath }
    };
    const CAttributeTable InterfaceAttributes{ { L"name", &sInterface }, { L"iid", &sIid } };
    const auto LoadInterface = [&](const CXmlElement& rInterface) {
        InterfaceAttributes.Read(log, rInterface);
        // A name that is there already keeps its first identity.
        info.Interfaces.emplace(sInterface, rSection.bInterfacesByName ? CComNameTable::GetTable().Find(sInterface)
                                                                       : IidOf(sIid, sInterface));
    };
    WalkElements(log, pDocument, rSection.sPattern, rSection.sPattern, { L"pXmlNodeList", L"pNode" },
                 [&](const CXmlElement& rClass) {
                     ClassAttributes.Read(log, rClass);
                     info.clsid = ClsidOf(sClsid, info.sName);
                     info.nRegType = RegTypeOf(log, sRegType);
                     rConfig.ExpandPathTokens(info.sFilePath);
                     info.Interfaces.clear();
                     WalkElements(log, rClass.Get(), L"interface", rClass.Pattern() + L"/interface",
                                  { L"pXmlComIfNodeList", L"pComIfNode" }, LoadInterface);
                     rInfos.push_back(info);
                 });
}

} // namespace

HRESULT CConfigFile::LoadComObjectInfos(IXMLDOMDocument* pDocument)
{
    CFunctionLog log;
    return log.Run([&] {
        LoadSection(log, *this, { L"/installchecker/com-infos/coclass", CComObjectInfo::Apartment_Both, true, false },
                    pDocument, m_ComObjectInfos);
    });
}

HRESULT CConfigFile::LoadDsFilterObjectInfos(IXMLDOMDocument* pDocument)
{
    CFunctionLog log;
    return log.Run([&] {
        // Filters have always been named by their interfaces' names alone; manifests in the field rely on it.
        LoadSection(log, *this,
                    { L"/installchecker/directshow-filter-infos/coclass", CComObjectInfo::Apartment_Sta, false, true },
                    pDocument, m_ComObjectInfos);
    });
}
