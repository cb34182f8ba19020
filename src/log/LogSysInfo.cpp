#include "log/LogSysInfo.h"

#include <algorithm>

#include "log/LogFactories.h"
#include "platform/ComInit.h"
#include "platform/Path.h"
#include "platform/Xml.h"

namespace opLogSys
{

using Microsoft::WRL::ComPtr;

CLogSysInfo::CLogSysInfo()
    : m_pFilter(Common::CReference<COutputLogState>::Own(new COutputLogState)),
      m_pFactory(Common::CReference<IOutputLogSystemFactory>::Own(new Null::COutputLogSystemFactory))
{
}

IOutputLogSystemFactory* CLogSysInfo::GetFactory()
{
    m_pFactory->AddRef();
    return m_pFactory.Get();
}

ILogFilter* CLogSysInfo::GetFilter()
{
    m_pFilter->AddRef();
    return m_pFilter.Get();
}

void CLogSysInfo::SetFactory(IOutputLogSystemFactory* pFactory)
{
    m_pFactory = Common::CReference<IOutputLogSystemFactory>::Own(pFactory);
}

HRESULT CLogSysInfo::COutputLogState::IsTarget(const std::wstring& sSubject, LONG nLevel)
{
    const CLockScope lock(m_Lock);
    const bool bPasses = std::ranges::any_of(m_Entries, [&](const CEntry& rEntry) {
        return rEntry.sSubject == sSubject && rEntry.nMinLevel <= nLevel && nLevel <= rEntry.nMaxLevel;
    });
    return bPasses ? S_OK : E_FAIL;
}

HRESULT CLogSysInfo::COutputLogState::HasEntries()
{
    const CLockScope lock(m_Lock);
    return m_Entries.empty() ? E_FAIL : S_OK;
}

void CLogSysInfo::COutputLogState::AddFilter(const std::wstring& sSubject, LONG nMinLevel, LONG nMaxLevel)
{
    const CLockScope lock(m_Lock);
    // The new lower level plays no part in the search: an entry is replaced even where the two ranges hardly meet.
    const auto itEntry = std::ranges::find_if(m_Entries, [&](const CEntry& rEntry) {
        return rEntry.sSubject == sSubject && rEntry.nMinLevel <= nMaxLevel && nMaxLevel <= rEntry.nMaxLevel;
    });
    if (itEntry == m_Entries.end())
        m_Entries.push_back({ sSubject, nMinLevel, nMaxLevel });
    else
        *itEntry = { sSubject, nMinLevel, nMaxLevel };
}

CLogSysInfoFromXML::CLogSysInfoFromXML(const std::wstring& sFilePath)
    : m_sFilePath(sFilePath),
      m_pInner(Common::CReference<CLogSysInfo>::Own(new CLogSysInfo))
{
    if (!PathExists(m_sFilePath))
        return;
    const COpdComInit com;
    Load();
}

void CLogSysInfoFromXML::Load()
{
    ComPtr<IXMLDOMDocument> pDocument;
    if (FAILED(CreateXmlDocument(CLSCTX_INPROC_SERVER, pDocument)) || FAILED(pDocument->put_async(VARIANT_FALSE)))
        return;
    VARIANT_BOOL bLoaded = VARIANT_FALSE;
    if (LoadXmlFile(pDocument.Get(), m_sFilePath, bLoaded) != S_OK || bLoaded != VARIANT_TRUE)
        return;
    ComPtr<IXMLDOMElement> pRoot;
    if (pDocument->get_documentElement(&pRoot) == S_OK)
        ForEachChild(pRoot.Get(), [this](IXMLDOMNode* pNode) { ReadNode(pNode); });
}

void CLogSysInfoFromXML::ReadNode(IXMLDOMNode* pNode)
{
    const std::wstring sName = XmlNodeName(pNode);
    if (sName == L"FACTORY")
        ReadFactory(pNode);
    else if (sName == L"FILTERLIST")
        ReadFilterList(pNode);
}

// The last FACTORY element wins, also when it names nothing known: then nothing comes out.
void CLogSysInfoFromXML::ReadFactory(IXMLDOMNode* pNode)
{
    const std::wstring sClass = XmlAttributeText(pNode, L"class");
    const bool bKnown = XmlAttributeText(pNode, L"name") == L"IOutputLogSystemFactory";
    if (bKnown && sClass == L"opLogSys::File::COutputLogSystemFactory")
        m_pInner->SetFactory(new File::COutputLogSystemFactory(XmlAttributeText(pNode, L"autoflush") == L"true",
                                                               XmlAttributeText(pNode, L"location")));
    else if (bKnown && sClass == L"opLogSys::Ods::COutputLogSystemFactory")
        m_pInner->SetFactory(new Ods::COutputLogSystemFactory);
    else
        m_pInner->SetFactory(new Null::COutputLogSystemFactory);
}

void CLogSysInfoFromXML::ReadFilterList(IXMLDOMNode* pNode)
{
    ForEachChild(pNode, [this](IXMLDOMNode* pChild) { ReadFilter(pChild); });
}

HRESULT CLogSysInfoFromXML::ReadFilter(IXMLDOMNode* pNode)
{
    if (XmlNodeName(pNode) != L"FILTER")
        return E_FAIL;
    m_pInner->State().AddFilter(XmlAttributeText(pNode, L"subject"),
                                ::wcstol(XmlAttributeText(pNode, L"minLevel").c_str(), nullptr, 10),
                                ::wcstol(XmlAttributeText(pNode, L"maxLevel").c_str(), nullptr, 10));
    return S_OK;
}

} // namespace opLogSys
