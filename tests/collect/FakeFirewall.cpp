// The interfaces in their C form: tables in which only the calls that matter are filled in. A call of another one ends
// the test.
#define CINTERFACE
#include "collect/FakeFirewall.h"

#include <netfw.h>

#include <cstring>

namespace
{

// A rule, or a program of the older interface.
const struct CEntry
{
    const wchar_t* pName; // null: the item is of another kind
    const wchar_t* pImage;
    SHORT nEnabled;
    LONG nAction;
} Entries[] = { { L"Rule %d", L"C:\\a b.exe", -1, 1 }, { nullptr, nullptr, 0, 0 }, { L"", nullptr, 1, 9 } };
// The settings of one profile: domain, private, public. The older interface has the first.
const struct CProfile
{
    SHORT nEnabled;
    SHORT nBlockAll;
    LONG nInbound;
    LONG nOutbound;
    SHORT nNoUnicast;
} Profiles[] = { { -1, 0, 0, 1, 0 }, { 1, -1, 2, 7, -1 }, { 0, 1, 1, 0, 1 } };
constexpr LONG Current = 3; // profile or profiles
constexpr LONG Count = std::ssize(Entries) + 1;

LONG s_nNext = 0; // 0: an item that is no object comes first
bool s_bOld = false;

// The beginnings of the identities.
constexpr DWORD OldClassId = 0x304CE942, NewClassId = 0xE2B3C97F, PolicyId = 0x98325047, RuleId = 0xAF230D27,
                AppId = 0xB5E64FFA, EnumId = 0x00020404;

// A text, an object with one more reference, or a number, whatever its enumeration knows.
template <typename Value, typename Out>
HRESULT Give(const char* pCall, Value value, Out* pOut)
{
    if (CFakeFirewall::s_sFailing == pCall)
        return E_NOTIMPL;
    if constexpr (std::is_same_v<Value, const wchar_t*>)
        *pOut = value != nullptr ? ::SysAllocString(value) : nullptr;
    else if constexpr (std::is_pointer_v<Value>)
    {
        *pOut = reinterpret_cast<Out>(value);
        ++CFakeFirewall::s_nReferences;
    }
    else
    {
        static_assert(sizeof value == sizeof *pOut);
        std::memcpy(pOut, &value, sizeof value);
    }
    return S_OK;
}

// Puts a lambda without captures into a table; it does not get the object.
template <typename Result, typename This, typename... Arguments, typename Call>
void Set(Result(STDMETHODCALLTYPE*& rpSlot)(This*, Arguments...), Call)
{
    rpSlot = [](This*, Arguments... arguments) STDMETHODCALLTYPE { return static_cast<Result>(Call()(arguments...)); };
}

// An object that answers to IUnknown and to nId alone.
template <typename Interface, DWORD nId>
HRESULT STDMETHODCALLTYPE Query(Interface* pThis, REFIID rIid, void** ppObject)
{
    *ppObject = nullptr;
    if (rIid.Data1 == 0)
        return Give("Query.IUnknown", pThis, ppObject);
    return rIid.Data1 == nId ? Give("Query", pThis, ppObject) : E_NOINTERFACE;
}

template <typename Interface, DWORD nId = EnumId, typename Fill>
Interface Object(const Fill& fill)
{
    auto* const pTable = new std::remove_cvref_t<decltype(*Interface::lpVtbl)>{};
    pTable->QueryInterface = &Query<Interface, nId>;
    Set(pTable->AddRef, [] { return ++CFakeFirewall::s_nReferences; });
    Set(pTable->Release, [] { return --CFakeFirewall::s_nReferences; });
    fill(*pTable);
    return { pTable };
}

// That the enumerator stands at.
const CEntry& Entry()
{
    return Entries[s_nNext - 2];
}

INetFwRule s_Rule = Object<INetFwRule, RuleId>([](auto& t) {
    Set(t.get_Name, [](auto* p) { return Give("Item.Name", Entry().pName, p); });
    Set(t.get_ApplicationName, [](auto* p) { return Give("Item.Image", Entry().pImage, p); });
    Set(t.get_Enabled, [](auto* p) { return Give("Item.Enabled", Entry().nEnabled, p); });
    Set(t.get_Action, [](auto* p) { return Give("Item.Action", Entry().nAction, p); });
});
INetFwAuthorizedApplication s_App = Object<INetFwAuthorizedApplication, AppId>([](auto& t) {
    Set(t.get_Name, [](auto* p) { return Give("Item.Name", Entry().pName, p); });
    Set(t.get_ProcessImageFileName, [](auto* p) { return Give("Item.Image", Entry().pImage, p); });
    Set(t.get_Enabled, [](auto* p) { return Give("Item.Enabled", Entry().nEnabled, p); });
});

HRESULT NextItem(ULONG nWanted, VARIANT* pItem, ULONG* pnFetched)
{
    if (nWanted != 1 || s_nNext == Count)
        return S_FALSE;
    *pnFetched = 1;
    pItem->vt = VT_I4;
    if (s_nNext++ == 0)
        return S_OK;
    // An item without a name is one of the other interface.
    void* const pObject = s_bOld == (Entry().pName != nullptr) ? static_cast<void*>(&s_App) : &s_Rule;
    pItem->vt = s_bOld ? VT_UNKNOWN : VT_DISPATCH;
    return Give("Next", pObject, &pItem->punkVal);
}

IEnumVARIANT s_Enum = Object<IEnumVARIANT>([](auto& t) {
    Set(t.Next, [](auto... arguments) { return NextItem(arguments...); });
    Set(t.Reset, [] { return Give("Reset", 0L, &s_nNext); });
});

// Both collections.
template <typename Collection>
Collection Items()
{
    return Object<Collection>([](auto& t) {
        Set(t.get_Count, [](auto* p) { return Give("Items.Count", Count - 1, p); });
        Set(t.get__NewEnum, [](auto** pp) { return Give("Items.NewEnum", &s_Enum, pp); });
    });
}
INetFwRules s_Rules = Items<INetFwRules>();
INetFwAuthorizedApplications s_Apps = Items<INetFwAuthorizedApplications>();

INetFwPolicy2 s_Policy2 = Object<INetFwPolicy2, PolicyId>([](auto& t) {
    Set(t.get_CurrentProfileTypes, [](auto* p) { return Give("CurrentProfileTypes", Current, p); });
    Set(t.get_FirewallEnabled, [](auto e, auto* p) { return Give("FirewallEnabled", Profiles[e / 2].nEnabled, p); });
    Set(t.get_BlockAllInboundTraffic, [](auto e, auto* p) { return Give("BlockAll", Profiles[e / 2].nBlockAll, p); });
    Set(t.get_DefaultInboundAction, [](auto e, auto* p) { return Give("Inbound", Profiles[e / 2].nInbound, p); });
    Set(t.get_DefaultOutboundAction, [](auto e, auto* p) { return Give("Outbound", Profiles[e / 2].nOutbound, p); });
    Set(t.get_UnicastResponsesToMulticastBroadcastDisabled,
        [](auto e, auto* p) { return Give("Unicast", Profiles[e / 2].nNoUnicast, p); });
    Set(t.get_Rules, [](auto** pp) { return Give("Rules", &s_Rules, pp); });
});

INetFwProfile s_Profile = Object<INetFwProfile>([](auto& t) {
    Set(t.get_FirewallEnabled, [](auto* p) { return Give("FirewallEnabled", Profiles[0].nEnabled, p); });
    Set(t.get_AuthorizedApplications, [](auto** pp) { return Give("Apps", &s_Apps, pp); });
});
INetFwPolicy s_Policy = Object<INetFwPolicy>(
    [](auto& t) { Set(t.get_CurrentProfile, [](auto** pp) { return Give("CurrentProfile", &s_Profile, pp); }); });
INetFwMgr s_Mgr = Object<INetFwMgr>([](auto& t) {
    Set(t.get_LocalPolicy, [](auto** pp) { return Give("LocalPolicy", &s_Policy, pp); });
    Set(t.get_CurrentProfileType, [](auto* p) { return Give("CurrentProfileType", Current, p); });
});

} // namespace

HRESULT WINAPI CFakeFirewall::Create(REFCLSID rClsid, IUnknown*, DWORD, REFIID, void** ppObject)
{
    *ppObject = nullptr;
    s_bOld = rClsid.Data1 == OldClassId;
    if (!s_bOld && rClsid.Data1 != NewClassId)
        return REGDB_E_CLASSNOTREG;
    return Give("Create", s_bOld ? static_cast<void*>(&s_Mgr) : &s_Policy2, ppObject);
}
