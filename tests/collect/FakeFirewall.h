// Both interfaces of the Windows firewall of a PC, behind CoCreateInstance. One at a time.
#pragma once

#include <string>

#include "support/ImportPatch.h"

struct CFakeFirewall
{
    static HRESULT WINAPI Create(REFCLSID rClsid, IUnknown*, DWORD, REFIID, void** ppObject);

    static inline std::string s_sFailing; // the call that answers 0x80004001
    static inline int s_nReferences = 0;  // that are held
    const CImportPatch<decltype(Create)> m_Create{ "CoCreateInstance", Create };
};
