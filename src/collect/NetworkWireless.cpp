// The wireless interfaces and the networks that they see.
#include <algorithm>

#include "collect/NetworkInfoCollector.h"
#include "collect/NetworkWlanApi.h"
#include "collect/StepResult.h"
#include "platform/CodePage.h"
#include "platform/Table.h"
#include "platform/Text.h"

namespace
{

constexpr DWORD ClientVersion = 1;

constexpr CNameRow<DWORD> AuthTable[] = {
    { 1, L"DOT11_AUTH_ALGO_80211_OPEN" },
    { 2, L"DOT11_AUTH_ALGO_80211_SHARED_KEY" },
    { 3, L"DOT11_AUTH_ALGO_WPA" },
    { 4, L"DOT11_AUTH_ALGO_WPA_PSK" },
    { 5, L"DOT11_AUTH_ALGO_WPA_NONE" },
    { 6, L"DOT11_AUTH_ALGO_RSNA" },
    { 7, L"DOT11_AUTH_ALGO_RSNA_PSK" },
    { 0x80000000, L"DOT11_AUTH_ALGO_IHV_START" },
    { 0xFFFFFFFF, L"DOT11_AUTH_ALGO_IHV_END" },
};
constexpr CNameRow<DWORD> CipherTable[] = {
    { 0, L"DOT11_CIPHER_ALGO_NONE" },
    { 1, L"DOT11_CIPHER_ALGO_WEP40" },
    { 2, L"DOT11_CIPHER_ALGO_TKIP" },
    { 4, L"DOT11_CIPHER_ALGO_CCMP" },
    { 5, L"DOT11_CIPHER_ALGO_WEP104" },
    { 256, L"DOT11_CIPHER_ALGO_WPA_USE_GROUP" },
    { 257, L"DOT11_CIPHER_ALGO_WEP" },
    { 0x80000000, L"DOT11_CIPHER_ALGO_IHV_START" },
    { 0xFFFFFFFF, L"DOT11_CIPHER_ALGO_IHV_END" },
};

// A hidden network has the length 0; the length is as much from the air as the name.
std::wstring SsidText(const DOT11_SSID& rSsid)
{
    char aName[DOT11_SSID_MAX_LENGTH + 1] = "";
    std::copy_n(rSsid.ucSSID, std::min<ULONG>(rSsid.uSSIDLength, DOT11_SSID_MAX_LENGTH), aName);
    return ToWide(aName);
}

void OutputNetwork(CResultLog& rResultLog, const WLAN_AVAILABLE_NETWORK& rNetwork)
{
    rResultLog.WriteLine(L"-- <<SSID name : %ls>>", SsidText(rNetwork.dot11Ssid));
    rResultLog.WriteLine(L"--- Signal quality   : %d", rNetwork.wlanSignalQuality);
    rResultLog.WriteLine(L"--- IsConnected      : %d", rNetwork.dwFlags & 1);
    rResultLog.WriteLine(L"--- HasProfile       : %d", rNetwork.dwFlags >> 1 & 1);
    rResultLog.WriteLine(L"--- Profile name     : %ls", FieldText(rNetwork.strProfileName));
    rResultLog.WriteLine(L"--- Auth Algorithm   : %ls",
                         NameOf(AuthTable, RawNumber(rNetwork.dot11DefaultAuthAlgorithm), L""));
    rResultLog.WriteLine(L"--- Cipher Algorithm : %ls",
                         NameOf(CipherTable, RawNumber(rNetwork.dot11DefaultCipherAlgorithm), L""));
}

} // namespace

HRESULT CNetworkInfoCollector::collectWlanInfo()
{
    CFunctionLog log;
    return log.Run([&] {
        m_ResultLog.WriteLine(L"* Windows Zero Configuration Info");
        const CWlanApi api;
        CWlanClient client(api);
        DWORD dwStatus = client.Open(ClientVersion);
        if (dwStatus != ERROR_SUCCESS)
            ThrowWin32(log, dwStatus, L"WlanOpenHandle() failed. [%d]");
        CWlanList<WLAN_INTERFACE_INFO_LIST> list(api);
        dwStatus = api.EnumInterfaces(client.Get(), nullptr, list.Put());
        if (dwStatus != ERROR_SUCCESS || !list)
            ThrowWin32(log, dwStatus, L"WlanEnumInterfaces() failed. [%d]");
        m_ResultLog.WriteLine(L"** Wireless interface count is %d", list->dwNumberOfItems);
        for (const WLAN_INTERFACE_INFO& rInterface : std::span(list->InterfaceInfo, list->dwNumberOfItems))
        {
            const std::wstring sGuid = stringFromGuid(rInterface.InterfaceGuid);
            m_ResultLog.WriteLine(L"- %ls", FieldText(rInterface.strInterfaceDescription));
            m_ResultLog.WriteLine(L"-- InterfaceGUID : %ls", sGuid);
            // One interface that cannot be asked drops those behind it.
            log.Check(collectApInfo(api, client.Get(), rInterface.InterfaceGuid),
                      L"collectApInfo(%ls) failed. [0x%08X]", sGuid);
        }
    });
}

HRESULT CNetworkInfoCollector::collectApInfo(const CWlanApi& rApi, HANDLE hWifi, const GUID& rInterface)
{
    CFunctionLog log;
    return log.Run([&] {
        if (hWifi == nullptr)
            log.FailCode(E_POINTER, L"hWifi is 0x%08X failed. [0x%08X]", 0);
        CWlanList<WLAN_AVAILABLE_NETWORK_LIST> list(rApi);
        const DWORD dwStatus = rApi.GetAvailableNetworkList(hWifi, &rInterface, 0, nullptr, list.Put());
        if (dwStatus != ERROR_SUCCESS || !list)
            ThrowWin32(log, dwStatus, L"WlanGetAvailableNetworkList() failed. [%d]");
        m_ResultLog.WriteLine(L"-- SSID count : %d", list->dwNumberOfItems);
        for (const WLAN_AVAILABLE_NETWORK& rNetwork : std::span(list->Network, list->dwNumberOfItems))
            OutputNetwork(m_ResultLog, rNetwork);
    });
}
