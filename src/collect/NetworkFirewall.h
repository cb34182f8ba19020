// What both interfaces of the Windows firewall have in common.
#pragma once

#include <wrl/client.h>

#include "log/FunctionLog.h"
#include "platform/ComText.h"

// Truth is VARIANT_TRUE and nothing else.
inline const wchar_t* EnableText(VARIANT_BOOL bValue)
{
    return bValue == VARIANT_TRUE ? L"enable" : L"disable";
}

// A call that succeeds and gives nothing has failed.
template <typename Interface>
HRESULT Filled(HRESULT hr, const Microsoft::WRL::ComPtr<Interface>& rpObject)
{
    return FAILED(hr) || rpObject ? hr : E_POINTER;
}

template <typename Class, typename Interface>
HRESULT CreateFirewallObject(Microsoft::WRL::ComPtr<Interface>& rpObject)
{
    const HRESULT hr = ::CoCreateInstance(__uuidof(Class), nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface),
                                          reinterpret_cast<void**>(rpObject.GetAddressOf()));
    return Filled(hr, rpObject);
}

// A collection's size and an enumerator at its start.
struct CFirewallItems
{
    struct CFailures
    {
        CFormat<HRESULT> Count;
        CFormat<HRESULT> NewEnum;
        CFormat<HRESULT> Query;
        CFormat<HRESULT> Reset;
    };

    LONG nCount = 0;
    Microsoft::WRL::ComPtr<IEnumVARIANT> pEnum;

    template <typename Collection>
    CFirewallItems(const CFunctionLog& log, Collection* pItems, const CFailures& rFailures)
    {
        log.Check(pItems->get_Count(&nCount), rFailures.Count);
        Microsoft::WRL::ComPtr<IUnknown> pUnknown;
        HRESULT hr = pItems->get__NewEnum(pUnknown.GetAddressOf());
        log.Check(Filled(hr, pUnknown), rFailures.NewEnum);
        hr = pUnknown->QueryInterface(__uuidof(IEnumVARIANT), reinterpret_cast<void**>(pEnum.GetAddressOf()));
        log.Check(Filled(hr, pEnum), rFailures.Query);
        log.Check(pEnum->Reset(), rFailures.Reset);
    }

    // Calls visit(Item*) for each item that has the interface; the others are passed over.
    template <typename Item, typename Visit>
    void ForEach(const Visit& visit) const
    {
        CVariant value;
        ULONG nFetched = 0;
        while (pEnum->Next(1, value.Put(), &nFetched) == S_OK)
        {
            const VARIANT& rValue = value.Get();
            // Both kinds of object pointer stand at the same place.
            IUnknown* const pUnknown = rValue.vt == VT_DISPATCH || rValue.vt == VT_UNKNOWN ? rValue.punkVal : nullptr;
            Microsoft::WRL::ComPtr<Item> pItem;
            if (pUnknown != nullptr &&
                SUCCEEDED(pUnknown->QueryInterface(__uuidof(Item), reinterpret_cast<void**>(pItem.GetAddressOf()))) &&
                pItem)
                visit(pItem.Get());
        }
    }
};
