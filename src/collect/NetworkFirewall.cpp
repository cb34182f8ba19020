// The Windows firewall, by the interface that the running Windows offers.
#include "collect/NetworkFirewall.h"

#include "collect/NetworkInfoCollector.h"
#include "collect/StepResult.h"
#include "platform/ComInit.h"
#include "platform/FlagTable.h"

using Microsoft::WRL::ComPtr;

namespace
{

constexpr CNameRow<DWORD> OldProfileTable[] = {
    { NET_FW_PROFILE_DOMAIN, L"NET_FW_PROFILE_DOMAIN" },
    { NET_FW_PROFILE_STANDARD, L"NET_FW_PROFILE_STANDARD" },
    { NET_FW_PROFILE_CURRENT, L"NET_FW_PROFILE_CURRENT" },
    { NET_FW_PROFILE_TYPE_MAX, L"NET_FW_PROFILE_TYPE_MAX" },
};
constexpr CNameRow<DWORD> ActionTable[] = {
    { NET_FW_ACTION_BLOCK, L"NET_FW_ACTION_BLOCK" },
    { NET_FW_ACTION_ALLOW, L"NET_FW_ACTION_ALLOW" },
    { NET_FW_ACTION_MAX, L"NET_FW_ACTION_MAX" },
};
constexpr CNameRow<LONG> ProfileBits[] = {
    { NET_FW_PROFILE2_DOMAIN, L"Domain" },
    { NET_FW_PROFILE2_PRIVATE, L"Private" },
    { NET_FW_PROFILE2_PUBLIC, L"Public" },
};

std::wstring ProfilesText(LONG nProfiles)
{
    return nProfiles == NET_FW_PROFILE2_ALL ? L"ALL" : FlagsText(ProfileBits, nProfiles, L" + ");
}

// A thread that has another apartment already will do.
void CheckApartment(const CFunctionLog& log, const COpdComInit& rApartment)
{
    if (rApartment.GetResult() != RPC_E_CHANGED_MODE)
        log.Check(rApartment.GetResult(), L"CoInitializeEx() failed.[0x%08X]");
}

// What the older interface tells before its list of programs.
struct COldFirewall
{
    NET_FW_PROFILE_TYPE eProfile = NET_FW_PROFILE_DOMAIN;
    VARIANT_BOOL bEnabled = VARIANT_FALSE;
    ComPtr<INetFwAuthorizedApplications> pApps;

    explicit COldFirewall(const CFunctionLog& log)
    {
        ComPtr<INetFwMgr> pMgr;
        ComPtr<INetFwPolicy> pPolicy;
        ComPtr<INetFwProfile> pProfile;
        log.Check(CreateFirewallObject<NetFwMgr>(pMgr), L"CoCreateInstance(__uuidof(NetFwMgr)) failed.[0x%08X]");
        log.Check(pMgr->get_CurrentProfileType(&eProfile), L"netFwMgr->get_CurrentProfileType() failed.[0x%08X]");
        HRESULT hr = pMgr->get_LocalPolicy(pPolicy.GetAddressOf());
        log.Check(Filled(hr, pPolicy), L"netFwMgr->get_LocalPolicy() failed.[0x%08X]");
        hr = pPolicy->get_CurrentProfile(pProfile.GetAddressOf());
        log.Check(Filled(hr, pProfile), L"netFwPolicy->get_CurrentProfile() failed.[0x%08X]");
        // The message names another object; it is searched for by this text.
        log.Check(pProfile->get_FirewallEnabled(&bEnabled), L"netFwPolicy->get_FirewallEnabled() failed.[0x%08X]");
        hr = pProfile->get_AuthorizedApplications(pApps.GetAddressOf());
        log.Check(Filled(hr, pApps), L"netFwProfile->get_AuthorizedApplications() failed.[0x%08X]");
    }
};

// The first text names the wrong object as well.
constexpr CFirewallItems::CFailures AppsFailures{
    L"netFwProfile->get_Count() failed.[0x%08X]",
    L"netFwAuthApps->get__NewEnum() failed.[0x%08X]",
    L"CComQIPtr<IEnumVARIANT> authAppsEnum(authAppsEnumUnk) failed.[0x%08X]",
    L"authAppsEnum->Reset() failed.[0x%08X]",
};
constexpr CFirewallItems::CFailures RulesFailures{
    L"netFwRules->get_Count() failed.[0x%08X]",
    L"netFwRules->get__NewEnum() failed.[0x%08X]",
    L"CComQIPtr<IEnumVARIANT> rulesEnum(rulesEnumUnk) failed.[0x%08X]",
    L"rulesEnum->Reset() failed.[0x%08X]",
};

// Each value is read, then written: what was read before a failure stands in the report.
void OutputApplication(const CFunctionLog& log, CResultLog& rResultLog, INetFwAuthorizedApplication* pApp)
{
    CBstr text;
    log.Check(pApp->get_Name(text.Put()), L"authApp->get_Name() failed.[0x%08X]");
    rResultLog.WriteLine(L"-- %ls", text.Text());
    log.Check(pApp->get_ProcessImageFileName(text.Put()), L"authApp->get_ProcessImageFileName() failed.[0x%08X]");
    rResultLog.WriteLine(L"--- %ls", text.Text());
    VARIANT_BOOL bEnabled = VARIANT_FALSE;
    log.Check(pApp->get_Enabled(&bEnabled), L"authApp->get_Enabled() failed.[0x%08X]");
    rResultLog.WriteLine(L"--- Application is %ls.", EnableText(bEnabled));
}

void OutputRule(const CFunctionLog& log, CResultLog& rResultLog, INetFwRule* pRule)
{
    CBstr text;
    log.Check(pRule->get_Name(text.Put()), L"rule->get_Name() failed.[0x%08X]");
    rResultLog.WriteLine(L"-- %ls", text.Text());
    log.Check(pRule->get_ApplicationName(text.Put()), L"rule->get_ApplicationName() failed.[0x%08X]");
    rResultLog.WriteLine(L"--- %ls", text.Text());
    VARIANT_BOOL bEnabled = VARIANT_FALSE;
    log.Check(pRule->get_Enabled(&bEnabled), L"rule->get_Enabled() failed.[0x%08X]");
    rResultLog.WriteLine(L"--- Firewall is %ls.", EnableText(bEnabled));
    NET_FW_ACTION eAction = NET_FW_ACTION_BLOCK;
    log.Check(pRule->get_Action(&eAction), L"rule->get_Action() failed.[0x%08X]");
    rResultLog.WriteLine(L"--- Action is %ls.", NameOf(ActionTable, RawNumber(eAction), L""));
}

void OutputProfile(const CFunctionLog& log, CResultLog& rResultLog, INetFwPolicy2* pPolicy,
                   NET_FW_PROFILE_TYPE2 eProfile)
{
    VARIANT_BOOL bValue = VARIANT_FALSE;
    log.Check(pPolicy->get_FirewallEnabled(eProfile, &bValue), L"netFwPolicy->get_FirewallEnabled() failed.[0x%08X]");
    rResultLog.WriteLine(L"- Firewall is %ls", EnableText(bValue));
    log.Check(pPolicy->get_BlockAllInboundTraffic(eProfile, &bValue),
              L"netFwPolicy->get_BlockAllInboundTraffic() failed.[0x%08X]");
    rResultLog.WriteLine(L"-- AllInboundTraffic is %ls", bValue == VARIANT_TRUE ? L"blocked" : L"not blocked");
    NET_FW_ACTION eAction = NET_FW_ACTION_BLOCK;
    log.Check(pPolicy->get_DefaultInboundAction(eProfile, &eAction),
              L"netFwPolicy->get_DefaultInboundAction() failed.[0x%08X]");
    rResultLog.WriteLine(L"-- DefaultInboundAction is %ls", NameOf(ActionTable, RawNumber(eAction), L""));
    log.Check(pPolicy->get_DefaultOutboundAction(eProfile, &eAction),
              L"netFwPolicy->get_DefaultOutboundAction() failed.[0x%08X]");
    rResultLog.WriteLine(L"-- DefaultOutboundAction is %ls", NameOf(ActionTable, RawNumber(eAction), L""));
    log.Check(pPolicy->get_UnicastResponsesToMulticastBroadcastDisabled(eProfile, &bValue),
              L"netFwPolicy->get_UnicastResponsesToMulticastBroadcastDisabled() failed.[0x%08X]");
    rResultLog.WriteLine(L"-- UnicastResponses are %ls", bValue == VARIANT_TRUE ? L"disable" : L"enable");
}

} // namespace

HRESULT CNetworkInfoCollector::collectFirewallInfo()
{
    CFunctionLog log;
    return log.Run([&] {
        OSVERSIONINFOW Version{};
        Version.dwOSVersionInfoSize = sizeof Version;
        if (!::GetVersionExW(&Version))
            ThrowWin32(log, ::GetLastError(), L"GetVersionEx() failed. [%d]");
        const HRESULT hr = Version.dwMajorVersion < 6 ? collectFirewallInfoForXP()
                                                      : collectFirewallInfoForVistaOrLater();
        log.Check(hr, L"collectFirewallInfo() failed.[0x%08X]");
    });
}

// All that can fail comes before the first line: a failure leaves no line of the block.
HRESULT CNetworkInfoCollector::collectFirewallInfoForXP()
{
    CFunctionLog log;
    return log.Run([&] {
        const COpdComInit apartment(COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE);
        CheckApartment(log, apartment);
        const COldFirewall firewall(log);
        const CFirewallItems apps(log, firewall.pApps.Get(), AppsFailures);
        m_ResultLog.WriteLine(L"* Windows Firewall Info");
        m_ResultLog.WriteLine(L"** Current Profile Type is %ls",
                              NameOf(OldProfileTable, RawNumber(firewall.eProfile), L""));
        m_ResultLog.WriteLine(L"- Firewall is %ls", EnableText(firewall.bEnabled));
        m_ResultLog.WriteLine(L"-- Application count is %d", apps.nCount);
        apps.ForEach<INetFwAuthorizedApplication>(
            [&](INetFwAuthorizedApplication* pApp) { OutputApplication(log, m_ResultLog, pApp); });
    });
}

HRESULT CNetworkInfoCollector::collectFirewallInfoForVistaOrLater()
{
    CFunctionLog log;
    return log.Run([&] {
        const COpdComInit apartment(COINIT_APARTMENTTHREADED);
        CheckApartment(log, apartment);
        ComPtr<INetFwPolicy2> pPolicy;
        log.Check(CreateFirewallObject<NetFwPolicy2>(pPolicy), L"WFCOMInitialize() failed.[0x%08X]");
        LONG nProfiles = 0;
        log.Check(pPolicy->get_CurrentProfileTypes(&nProfiles),
                  L"netFwPolicy->get_CurrentProfileTypes() failed.[0x%08X]");
        m_ResultLog.WriteLine(L"* Windows Firewall Info");
        m_ResultLog.WriteLine(L"** Current Profile Type is %ls", ProfilesText(nProfiles));
        ComPtr<IUnknown> pUnknown;
        const HRESULT hr = pPolicy->QueryInterface(__uuidof(IUnknown),
                                                   reinterpret_cast<void**>(pUnknown.GetAddressOf()));
        log.Check(Filled(hr, pUnknown), L"netFwPolicy.QueryInterface() failed.[0x%08X]");
        // A profile that fails keeps the lines that it has; the next one follows.
        m_ResultLog.WriteLine(L"** <<Profile Type is NET_FW_PROFILE2_DOMAIN>>");
        get_FirewallSettings_PerProfileType(m_ResultLog, NET_FW_PROFILE2_DOMAIN, pUnknown.Get());
        m_ResultLog.WriteLine(L"** <<Profile Type is NET_FW_PROFILE2_PRIVATE>>");
        get_FirewallSettings_PerProfileType(m_ResultLog, NET_FW_PROFILE2_PRIVATE, pUnknown.Get());
        m_ResultLog.WriteLine(L"** <<Profile Type is NET_FW_PROFILE2_PUBLIC>>");
        get_FirewallSettings_PerProfileType(m_ResultLog, NET_FW_PROFILE2_PUBLIC, pUnknown.Get());
    });
}

// The rules are those of the whole firewall: their list stands whole under each profile.
HRESULT CNetworkInfoCollector::get_FirewallSettings_PerProfileType(CResultLog& rResultLog,
                                                                   NET_FW_PROFILE_TYPE2 eProfile,
                                                                   IUnknown* pNetFwPolicy2)
{
    CFunctionLog log;
    return log.Run([&] {
        ComPtr<INetFwPolicy2> pPolicy;
        HRESULT hr = pNetFwPolicy2->QueryInterface(__uuidof(INetFwPolicy2),
                                                   reinterpret_cast<void**>(pPolicy.GetAddressOf()));
        log.Check(Filled(hr, pPolicy), L"CComQIPtr<INetFwPolicy2> netFwPolicy(pNetFwPolicy2) failed.[0x%08X]");
        OutputProfile(log, rResultLog, pPolicy.Get(), eProfile);
        ComPtr<INetFwRules> pRules;
        hr = pPolicy->get_Rules(pRules.GetAddressOf());
        log.Check(Filled(hr, pRules), L"netFwPolicy->get_Rules() failed.[0x%08X]");
        const CFirewallItems rules(log, pRules.Get(), RulesFailures);
        rResultLog.WriteLine(L"-- Rule count is %d", rules.nCount);
        rules.ForEach<INetFwRule>([&](INetFwRule* pRule) { OutputRule(log, rResultLog, pRule); });
    });
}
