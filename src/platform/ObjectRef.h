// A reference to a foreign COM object, whose calls may throw at any time, the last release included.
#pragma once

#include <objbase.h>

#include <utility>

#include "platform/ForeignCall.h"

template <typename Interface>
class CObjectRef
{
public:
    CObjectRef() = default;
    CObjectRef(const CObjectRef&) = delete;
    CObjectRef& operator=(const CObjectRef&) = delete;
    // An object that throws here has nobody left to tell.
    ~CObjectRef()
    {
        try
        {
            Release();
        }
        catch (const CForeignException&) // NOLINT(bugprone-empty-catch)
        {
        }
    }

    Interface* Get() const { return m_pObject; }
    Interface* operator->() const { return m_pObject; }

    // Each of these throws CForeignException when the object threw. Success with a null pointer, which some objects
    // give, is E_POINTER.
    HRESULT Create(REFCLSID rClsid, REFIID rIid)
    {
        return Fill([&](void** ppObject) { return ::CoCreateInstance(rClsid, nullptr, CLSCTX_ALL, rIid, ppObject); });
    }
    template <typename Other>
    HRESULT Query(const CObjectRef<Other>& rOther, REFIID rIid)
    {
        return Fill([&](void** ppObject) { return rOther->QueryInterface(rIid, ppObject); });
    }
    // get(ppObject) is the call that fills in the pointer.
    template <typename Get>
    HRESULT Fill(const Get& get)
    {
        Release();
        void* pObject = nullptr;
        const HRESULT hr = CallObject([&] { return get(&pObject); });
        if (FAILED(hr))
            return hr;
        m_pObject = static_cast<Interface*>(pObject);
        return m_pObject != nullptr ? hr : E_POINTER;
    }
    void Release()
    {
        Interface* const pObject = std::exchange(m_pObject, nullptr);
        if (pObject == nullptr)
            return;
        CallObject([&] {
            pObject->Release();
            return S_OK;
        });
    }

private:
    Interface* m_pObject = nullptr;
};
