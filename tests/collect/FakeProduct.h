// The product's objects, and the class that gives one of them.
#pragma once

#include "support/ImportPatch.h"

// Gives the object, borrowed, for this class and interface alone; null is a class that is not registered.
inline auto FakeClass(REFCLSID rClsid, REFIID rIid, IUnknown* pObject)
{
    const auto create = [=](REFCLSID rWanted, auto pOuter, auto dwContext, REFIID rWantedIid, void** ppObject) {
        *ppObject = nullptr;
        if (rWanted != rClsid || pObject == nullptr || pOuter != nullptr || dwContext != CLSCTX_ALL)
            return REGDB_E_CLASSNOTREG;
        return rWantedIid == rIid ? pObject->QueryInterface(rWantedIid, ppObject) : E_NOINTERFACE;
    };
    return FakeImport<decltype(::CoCreateInstance)>("CoCreateInstance", create);
}

// An object of the product that lives as long as its test; counts what is left of its references.
template <typename Interface>
class CFakeObject : public Interface
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** ppObject) override
    {
        ++nReferences;
        *ppObject = static_cast<Interface*>(this);
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++nReferences); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--nReferences); }

    int nReferences = 0;

protected:
    ~CFakeObject() = default;
};

// The exception of another compiler, as it leaves an object of the product.
inline void ThrowForeign()
{
    ::RaiseException(0xE06D7363, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}
