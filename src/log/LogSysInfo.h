// Filter and factory of the log system, and their reading from Kelvarin.log.xml.
#pragma once

#include <string>
#include <vector>

#include "log/LogInterfaces.h"

struct IXMLDOMNode;

namespace opLogSys
{

class CLogSysInfo final : public Common::CReferenceCounted<ILogSysInfo>
{
public:
    // Which subjects are traced at which levels.
    class COutputLogState final : public Common::CReferenceCounted<ILogFilter>
    {
    public:
        HRESULT IsTarget(const std::wstring& sSubject, LONG nLevel) override;
        HRESULT HasEntries() override;
        // An entry of the same subject whose range holds nMaxLevel gets the new range; otherwise one more is added.
        void AddFilter(const std::wstring& sSubject, LONG nMinLevel, LONG nMaxLevel);

    private:
        struct CEntry
        {
            std::wstring sSubject;
            LONG nMinLevel;
            LONG nMaxLevel;
        };
        std::vector<CEntry> m_Entries;
        Common::CCriticalSection m_Lock;
    };

    // An empty filter and the factory of the null output.
    CLogSysInfo();

    IOutputLogSystemFactory* GetFactory() override;
    ILogFilter* GetFilter() override;
    COutputLogState& State() const { return *m_pFilter.Get(); }
    // Takes over the caller's reference.
    void SetFactory(IOutputLogSystemFactory* pFactory);

private:
    Common::CReference<COutputLogState> m_pFilter;
    Common::CReference<IOutputLogSystemFactory> m_pFactory;
};

// Reads the file once, at construction. A missing or malformed file leaves the defaults, without a word: the log that
// could hold it does not exist yet.
class CLogSysInfoFromXML final : public Common::CReferenceCounted<ILogSysInfo>
{
public:
    explicit CLogSysInfoFromXML(const std::wstring& sFilePath);

    IOutputLogSystemFactory* GetFactory() override { return m_pInner->GetFactory(); }
    ILogFilter* GetFilter() override { return m_pInner->GetFilter(); }

private:
    void Load();
    void ReadNode(IXMLDOMNode* pNode);
    void ReadFactory(IXMLDOMNode* pNode);
    void ReadFilterList(IXMLDOMNode* pNode);
    HRESULT ReadFilter(IXMLDOMNode* pNode);

    std::wstring m_sFilePath;
    Common::CReference<CLogSysInfo> m_pInner;
};

} // namespace opLogSys
