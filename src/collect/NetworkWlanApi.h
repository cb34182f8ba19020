// The wireless service, bound at run time: servers without the wireless feature have no such library.
#pragma once

#include "platform/HResult.h"
#include "platform/SystemLibrary.h"

#include <wlanapi.h>

class CWlanApi
{
public:
    // Error is ERROR_SUCCESS when all functions are there; otherwise none may be called.
    CWlanApi() : m_hModule(LoadSystemLibrary(L"wlanapi.dll"))
    {
        m_dwError = StatusOf(BindFunction(m_hModule, "WlanOpenHandle", OpenHandle) &&
                             BindFunction(m_hModule, "WlanCloseHandle", CloseHandle) &&
                             BindFunction(m_hModule, "WlanEnumInterfaces", EnumInterfaces) &&
                             BindFunction(m_hModule, "WlanGetAvailableNetworkList", GetAvailableNetworkList) &&
                             BindFunction(m_hModule, "WlanFreeMemory", FreeMemory));
    }
    DWORD Error() const { return m_dwError; }

    decltype(&::WlanOpenHandle) OpenHandle = nullptr;
    decltype(&::WlanCloseHandle) CloseHandle = nullptr;
    decltype(&::WlanEnumInterfaces) EnumInterfaces = nullptr;
    decltype(&::WlanGetAvailableNetworkList) GetAvailableNetworkList = nullptr;
    decltype(&::WlanFreeMemory) FreeMemory = nullptr;

private:
    CModuleHandle m_hModule;
    DWORD m_dwError;
};

// The connection to the service.
class CWlanClient
{
public:
    explicit CWlanClient(const CWlanApi& rApi) : m_rApi(rApi) {}
    ~CWlanClient()
    {
        if (m_hClient != nullptr)
            m_rApi.CloseHandle(m_hClient, nullptr);
    }
    CWlanClient(const CWlanClient&) = delete;
    CWlanClient& operator=(const CWlanClient&) = delete;

    // Answers the status of the call, or why there is none.
    DWORD Open(DWORD dwVersion)
    {
        DWORD dwNegotiated = 0;
        return m_rApi.Error() != ERROR_SUCCESS ? m_rApi.Error()
                                               : m_rApi.OpenHandle(dwVersion, nullptr, &dwNegotiated, &m_hClient);
    }
    HANDLE Get() const { return m_hClient; }

private:
    const CWlanApi& m_rApi;
    HANDLE m_hClient = nullptr;
};

// A list that the service gives.
template <typename List>
class CWlanList
{
public:
    explicit CWlanList(const CWlanApi& rApi) : m_rApi(rApi) {}
    ~CWlanList()
    {
        if (m_pList != nullptr)
            m_rApi.FreeMemory(m_pList);
    }
    CWlanList(const CWlanList&) = delete;
    CWlanList& operator=(const CWlanList&) = delete;

    List** Put() { return &m_pList; }
    const List* operator->() const { return m_pList; }
    explicit operator bool() const { return m_pList != nullptr; }

private:
    const CWlanApi& m_rApi;
    List* m_pList = nullptr;
};
