// Reference count and interface look-up of the sample's objects.
#pragma once

#include <windows.h>

#include <objbase.h>

// Everything of this server that is alive, class factories included.
extern LONG g_nObjects;

// Answers for the given interfaces and IUnknown; a class with more to answer for overrides Find.
template <typename First, typename... Others>
class CUnknown : public First, public Others...
{
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override
    {
        *ppObject = Find(riid);
        if (*ppObject == nullptr)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(::InterlockedIncrement(&m_nReferences)); }
    STDMETHODIMP_(ULONG) Release() override
    {
        const LONG nReferences = ::InterlockedDecrement(&m_nReferences);
        if (nReferences == 0)
            delete this;
        return static_cast<ULONG>(nReferences);
    }

protected:
    CUnknown() { ::InterlockedIncrement(&g_nObjects); }
    virtual ~CUnknown() { ::InterlockedDecrement(&g_nObjects); }
    CUnknown(const CUnknown&) = delete;
    CUnknown& operator=(const CUnknown&) = delete;

    virtual void* Find(REFIID riid)
    {
        void* pFound = riid == IID_IUnknown || riid == __uuidof(First) ? static_cast<First*>(this) : nullptr;
        ((pFound = riid == __uuidof(Others) ? static_cast<Others*>(this) : pFound), ...);
        return pFound;
    }

private:
    LONG m_nReferences = 1;
};
