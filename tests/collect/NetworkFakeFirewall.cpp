// The interfaces in their C form: tables in which only the calls that matter are filled in. A call of another one ends
// the test.
#define CINTERFACE
#include "collect/NetworkFakeFirewall.h"

#include <netfw.h>

namespace
{

CFakeFirewall* s_pFirewall = nullptr;

HRESULT Answer(const char* pCall)
{
    return s_pFirewall->sFailing == pCall ? E_NOTIMPL : S_OK;
}
template <typename Value>
HRESULT Answer(const char* pCall, Value value, Value* pValue)
{
    const HRESULT hr = Answer(pCall);
    if (SUCCEEDED(hr))
        *pValue = value;
    return hr;
}

template <typename Interface>
ULONG STDMETHODCALLTYPE AddReference(Interface*)
{
    return static_cast<ULONG>(++s_pFirewall->nReferences);
}
template <typename Interface>
ULONG STDMETHODCALLTYPE ReleaseReference(Interface*)
{
    return static_cast<ULONG>(--s_pFirewall->nReferences);
}
template <typename Interface>
HRESULT Give(const char* pCall, Interface* pObject, Interface** ppObject)
{
    AddReference(pObject);
    const HRESULT hr = Answer(pCall, pObject, ppObject);
    if (FAILED(hr))
        ReleaseReference(pObject);
    return hr;
}

constexpr GUID UnknownId{ 0, 0, 0, { 0xC0, 0, 0, 0, 0, 0, 0, 0x46 } };

// Each object answers to its own identity, of which the fake keeps a pointer to the member, and to IUnknown.
template <typename Interface, GUID CFakeFirewall::CIds::*pId>
HRESULT STDMETHODCALLTYPE Query(Interface* pThis, REFIID rIid, void** ppObject)
{
    *ppObject = nullptr;
    if (::InlineIsEqualGUID(rIid, UnknownId))
        return Give("Query.IUnknown", static_cast<void*>(pThis), ppObject);
    return ::InlineIsEqualGUID(rIid, s_pFirewall->Ids.*pId) ? Give("Query", static_cast<void*>(pThis), ppObject)
                                                            : E_NOINTERFACE;
}

// An object whose table fill(rTable) completes.
template <typename Interface, GUID CFakeFirewall::CIds::*pId, typename Fill>
Interface Object(const Fill& fill)
{
    using Table = std::remove_cvref_t<decltype(*Interface::lpVtbl)>;
    auto* const pTable = new Table{};
    pTable->QueryInterface = &Query<Interface, pId>;
    pTable->AddRef = &AddReference<Interface>;
    pTable->Release = &ReleaseReference<Interface>;
    fill(*pTable);
    return { pTable };
}

using Ids = CFakeFirewall::CIds;

HRESULT GiveText(const char* pCall, const wchar_t* pText, BSTR* pbsText)
{
    return Answer(pCall, pText != nullptr ? ::SysAllocString(pText) : nullptr, pbsText);
}

// Rules and programs: the entry that the enumerator stands at.
const CFakeFirewall::CEntry* s_pEntry = nullptr;
std::size_t s_nNext = 0; // 0: an item that is no object comes first

INetFwRule s_Rule = Object<INetFwRule, &Ids::Rule>([](auto& t) {
    t.get_Name = [](INetFwRule*, BSTR* pText)
                     STDMETHODCALLTYPE { return GiveText("Item.Name", s_pEntry->pName, pText); };
    t.get_ApplicationName = [](INetFwRule*, BSTR* pText)
                                STDMETHODCALLTYPE { return GiveText("Item.Image", s_pEntry->pImage, pText); };
    t.get_Enabled = [](INetFwRule*, VARIANT_BOOL* pb)
                        STDMETHODCALLTYPE { return Answer("Item.Enabled", s_pEntry->nEnabled, pb); };
    t.get_Action = [](INetFwRule*, NET_FW_ACTION* p)
                       STDMETHODCALLTYPE { return Answer("Item.Action", NET_FW_ACTION(s_pEntry->nAction), p); };
});
INetFwAuthorizedApplication s_App = Object<INetFwAuthorizedApplication, &Ids::App>([](auto& t) {
    using P = INetFwAuthorizedApplication;
    t.get_Name = [](P*, BSTR* pText) STDMETHODCALLTYPE { return GiveText("Item.Name", s_pEntry->pName, pText); };
    t.get_ProcessImageFileName = [](P*, BSTR* pText)
                                     STDMETHODCALLTYPE { return GiveText("Item.Image", s_pEntry->pImage, pText); };
    t.get_Enabled = [](P*, VARIANT_BOOL* pb)
                        STDMETHODCALLTYPE { return Answer("Item.Enabled", s_pEntry->nEnabled, pb); };
});

// An item without a name is one of the other interface.
bool s_bOld = false;

HRESULT STDMETHODCALLTYPE NextItem(IEnumVARIANT*, ULONG nWanted, VARIANT* pItem, ULONG* pnFetched)
{
    if (nWanted != 1 || s_nNext > s_pFirewall->Entries.size())
        return S_FALSE;
    *pnFetched = 1;
    pItem->vt = VT_I4;
    pItem->lVal = 1;
    if (s_nNext++ == 0)
        return S_OK;
    s_pEntry = &s_pFirewall->Entries[s_nNext - 2];
    void* const pObject = s_bOld == (s_pEntry->pName != nullptr) ? static_cast<void*>(&s_App) : &s_Rule;
    AddReference(pObject);
    pItem->vt = s_bOld ? VT_UNKNOWN : VT_DISPATCH;
    pItem->punkVal = static_cast<IUnknown*>(pObject);
    return S_OK;
}

IEnumVARIANT s_Enum = Object<IEnumVARIANT, &Ids::Enum>([](auto& t) {
    t.Next = &NextItem;
    t.Reset = [](IEnumVARIANT*) STDMETHODCALLTYPE {
        s_nNext = 0;
        return Answer("Reset");
    };
});

LONG CountOfEntries()
{
    return static_cast<LONG>(s_pFirewall->Entries.size());
}

INetFwRules s_Rules = Object<INetFwRules, &Ids::Enum>([](auto& t) {
    t.get_Count = [](INetFwRules*, LONG* pn) STDMETHODCALLTYPE { return Answer("Items.Count", CountOfEntries(), pn); };
    t.get__NewEnum = [](INetFwRules*, IUnknown** pp)
                         STDMETHODCALLTYPE { return Give("Items.NewEnum", reinterpret_cast<IUnknown*>(&s_Enum), pp); };
});

INetFwAuthorizedApplications s_Apps = Object<INetFwAuthorizedApplications, &Ids::Enum>([](auto& t) {
    using P = INetFwAuthorizedApplications;
    t.get_Count = [](P*, LONG* pn) STDMETHODCALLTYPE { return Answer("Items.Count", CountOfEntries(), pn); };
    t.get__NewEnum = [](P*, IUnknown** pp)
                         STDMETHODCALLTYPE { return Give("Items.NewEnum", reinterpret_cast<IUnknown*>(&s_Enum), pp); };
});

const CFakeFirewall::CProfile& ProfileOf(NET_FW_PROFILE_TYPE2 eProfile)
{
    return s_pFirewall->aProfiles[eProfile / 2];
}

INetFwPolicy2 s_Policy2 = Object<INetFwPolicy2, &Ids::Policy2>([](auto& t) {
    using P = INetFwPolicy2;
    using Action = NET_FW_ACTION;
    using T = NET_FW_PROFILE_TYPE2;
    t.get_CurrentProfileTypes = [](P*, LONG* pn) STDMETHODCALLTYPE {
        return Answer("CurrentProfileTypes", s_pFirewall->nCurrent, pn);
    };
    t.get_FirewallEnabled = [](P*, T e, VARIANT_BOOL* pb)
                                STDMETHODCALLTYPE { return Answer("FirewallEnabled", ProfileOf(e).nEnabled, pb); };
    t.get_BlockAllInboundTraffic = [](P*, T e, VARIANT_BOOL* pb)
                                       STDMETHODCALLTYPE { return Answer("BlockAll", ProfileOf(e).nBlockAll, pb); };
    t.get_DefaultInboundAction = [](P*, T e, NET_FW_ACTION* p)
                                     STDMETHODCALLTYPE { return Answer("Inbound", Action(ProfileOf(e).nInbound), p); };
    t.get_DefaultOutboundAction = [](P*, T e, NET_FW_ACTION* p) STDMETHODCALLTYPE {
        return Answer("Outbound", Action(ProfileOf(e).nOutbound), p);
    };
    t.get_UnicastResponsesToMulticastBroadcastDisabled = [](P*, T e, VARIANT_BOOL* pb) STDMETHODCALLTYPE {
        return Answer("Unicast", ProfileOf(e).nNoUnicast, pb);
    };
    t.get_Rules = [](P*, INetFwRules** pp) STDMETHODCALLTYPE { return Give("Rules", &s_Rules, pp); };
});

INetFwProfile s_Profile = Object<INetFwProfile, &Ids::Enum>([](auto& t) {
    using P = INetFwProfile;
    t.get_FirewallEnabled = [](P*, SHORT* pb) STDMETHODCALLTYPE {
        return Answer("FirewallEnabled", s_pFirewall->aProfiles[0].nEnabled, pb);
    };
    t.get_AuthorizedApplications = [](INetFwProfile*, INetFwAuthorizedApplications** pp)
                                       STDMETHODCALLTYPE { return Give("Apps", &s_Apps, pp); };
});

INetFwPolicy s_Policy = Object<INetFwPolicy, &Ids::Enum>([](auto& t) {
    t.get_CurrentProfile = [](INetFwPolicy*, INetFwProfile** pp)
                               STDMETHODCALLTYPE { return Give("CurrentProfile", &s_Profile, pp); };
});

INetFwMgr s_Mgr = Object<INetFwMgr, &Ids::Enum>([](auto& t) {
    t.get_LocalPolicy = [](INetFwMgr*, INetFwPolicy** pp)
                            STDMETHODCALLTYPE { return Give("LocalPolicy", &s_Policy, pp); };
    using T = NET_FW_PROFILE_TYPE;
    t.get_CurrentProfileType = [](INetFwMgr*, T* p) STDMETHODCALLTYPE {
        return Answer("CurrentProfileType", T(s_pFirewall->nCurrent), p);
    };
});

} // namespace

CFakeFirewallPatch::CFakeFirewallPatch(CFakeFirewall& rFirewall) : m_Create("CoCreateInstance", &Create)
{
    s_pFirewall = &rFirewall;
}

HRESULT WINAPI CFakeFirewallPatch::Create(REFCLSID rClsid, IUnknown*, DWORD, REFIID, void** ppObject)
{
    *ppObject = nullptr;
    s_bOld = ::InlineIsEqualGUID(rClsid, s_pFirewall->Ids.Mgr) != FALSE;
    if (!s_bOld && !::InlineIsEqualGUID(rClsid, s_pFirewall->Ids.Policy2Class))
        return REGDB_E_CLASSNOTREG;
    return Give("Create", s_bOld ? static_cast<void*>(&s_Mgr) : &s_Policy2, ppObject);
}
