// A COM object of ours with one interface: an interlocked reference count that starts at 0, so that the smart pointer
// of whoever asked for the object takes the first reference.
#pragma once

#include <unknwn.h>

#include "platform/Win32.h"

template <typename Interface>
class CComObjectT : public Interface
{
public:
    CComObjectT() = default;
    CComObjectT(const CComObjectT&) = delete;
    CComObjectT& operator=(const CComObjectT&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID rIid, void** ppObject) override
    {
        if (ppObject == nullptr)
            return E_POINTER;
        *ppObject = nullptr;
        if (rIid != IID_IUnknown && rIid != __uuidof(Interface))
            return E_NOINTERFACE;
        *ppObject = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(::InterlockedIncrement(&m_nReferences)); }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const LONG nLeft = ::InterlockedDecrement(&m_nReferences);
        if (nLeft == 0)
            delete this;
        return static_cast<ULONG>(nLeft);
    }

    // Takes a reference back without deleting the object, for a maker that hands it out without one.
    void Unreference() { ::InterlockedDecrement(&m_nReferences); }

protected:
    // Behind the slots of the interface, which need not have one.
    virtual ~CComObjectT() = default; // NOLINT(modernize-use-override)

private:
    LONG m_nReferences = 0;
};
