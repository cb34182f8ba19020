// Both interfaces of the Windows firewall of a described PC, behind CoCreateInstance.
#pragma once

#include <string>
#include <vector>

#include "support/ImportPatch.h"

struct CFakeFirewall
{
    // A rule, or a program of the older interface.
    struct CEntry
    {
        const wchar_t* pName; // null: the item is of another kind
        const wchar_t* pImage;
        SHORT nEnabled;
        LONG nAction;
    };
    // The settings of one profile: 0 domain, 1 private, 2 public. The older interface has the first.
    struct CProfile
    {
        SHORT nEnabled;
        SHORT nBlockAll;
        LONG nInbound;
        LONG nOutbound;
        SHORT nNoUnicast;
    };
    // Identities, which only the code under test's form of the headers has.
    struct CIds
    {
        GUID Mgr, Policy2Class, Policy2, Rule, App, Enum;
    };

    CIds Ids;
    LONG nCurrent; // profile or profiles
    CProfile aProfiles[3];
    std::vector<CEntry> Entries;
    // "Interface.call" that answers 0x80004001.
    std::string sFailing{};
    // References that are held.
    int nReferences = 0;
};

// One at a time.
class CFakeFirewallPatch
{
public:
    explicit CFakeFirewallPatch(CFakeFirewall& rFirewall);

private:
    static HRESULT WINAPI Create(REFCLSID rClsid, IUnknown*, DWORD, REFIID, void** ppObject);
    CImportPatch<HRESULT WINAPI(REFCLSID, IUnknown*, DWORD, REFIID, void**)> m_Create;
};
