// The network: adapters, wireless interfaces with what they see, and the firewall, as an outline in NetworkInfo.txt.
#pragma once

#include <string>

#include "log/ResultLog.h"

#include <netfw.h>

class CWlanApi;

class CNetworkInfoCollector
{
public:
    virtual ~CNetworkInfoCollector() = default;

    // Each of the three blocks fails by itself: its lines are missing, and the log says why.
    HRESULT Collect(const std::wstring& sOutDirPath);

private:
    HRESULT collectIpAddress();

    HRESULT collectWlanInfo();
    HRESULT collectApInfo(const CWlanApi& rApi, HANDLE hWifi, const GUID& rInterface);

    HRESULT collectFirewallInfo();
    HRESULT collectFirewallInfoForXP();
    HRESULT collectFirewallInfoForVistaOrLater();
    static HRESULT get_FirewallSettings_PerProfileType(CResultLog& rResultLog, NET_FW_PROFILE_TYPE2 eProfile,
                                                       IUnknown* pNetFwPolicy2);

    static std::wstring stringFromGuid(const GUID& rGuid);

    CResultLog m_ResultLog;
};
