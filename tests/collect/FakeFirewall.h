// Both interfaces of the Windows firewall of a described PC, behind CoCreateInstance. One at a time.
#pragma once

#include <string>
#include <vector>

#include "support/ImportPatch.h"

class CFakeFirewall
{
public:
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

    CFakeFirewall();

    LONG nCurrent = 5; // profile or profiles
    CProfile aProfiles[3] = { { -1, 0, 0, 1, 0 }, { 1, -1, 2, 7, -1 }, { 0, 1, 1, 0, 1 } };
    std::vector<CEntry> Entries{ { L"Rule %d", L"C:\\a b.exe", -1, 1 },
                                 { nullptr, nullptr, 0, 0 },
                                 { L"", nullptr, 1, 9 } };
    std::string sFailing; // the call that answers 0x80004001
    int nReferences = 0;  // that are held

private:
    static HRESULT WINAPI Create(REFCLSID rClsid, IUnknown*, DWORD, REFIID, void** ppObject);
    CImportPatch<HRESULT WINAPI(REFCLSID, IUnknown*, DWORD, REFIID, void**)> m_Create;
};
