// The closed COM objects of the installed product that the collectors ask.
#pragma once

#include <objbase.h>

#include "platform/ForeignCall.h"

inline constexpr GUID CLSID_VlmSysInfo{
    0x52A86041, 0x4D4F, 0x493B, { 0xAC, 0xDC, 0x5E, 0xB5, 0xD7, 0x9B, 0x45, 0x04 }
};
inline constexpr GUID IID_IVlmSysInfo3{
    0xDEE60212, 0xFF9A, 0x44C1, { 0xA2, 0xE3, 0x88, 0x0F, 0x32, 0x96, 0x80, 0x55 }
};
inline constexpr GUID CLSID_VlmBackup{ 0x22E3D7E2, 0x3AD5, 0x11D5, { 0x83, 0x1A, 0x00, 0x60, 0x97, 0x03, 0xEE, 0xCF } };
inline constexpr GUID IID_IVlmBackup{ 0x22E3D7E1, 0x3AD5, 0x11D5, { 0x83, 0x1A, 0x00, 0x60, 0x97, 0x03, 0xEE, 0xCF } };

// Each operation is the first one behind IUnknown.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor" // as every COM interface
struct IVlmSysInfo3 : IUnknown
{
    // The market that the product was sold for.
    virtual HRESULT STDMETHODCALLTYPE getRegion(LONG* pnRegion) = 0;

protected:
    ~IVlmSysInfo3() = default;
};

struct IVlmBackupCallback : IUnknown
{
    // What the number tells is the product's affair.
    virtual HRESULT STDMETHODCALLTYPE onProgress(LONG nValue) = 0;

protected:
    ~IVlmBackupCallback() = default;
};

struct IVlmBackup : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE createBackupImage(BSTR sPath, REFIID rCallbackIid, IUnknown* pCallback) = 0;

protected:
    ~IVlmBackup() = default;
};
#pragma GCC diagnostic pop

__CRT_UUID_DECL(IVlmBackupCallback, 0x8AC36DE3, 0x4209, 0x11D5, 0x83, 0x1A, 0x00, 0x60, 0x97, 0x03, 0xEE, 0xCF)

// The result of a use of these objects: one that throws has failed with its exception's code, which is negative.
template <typename Call>
HRESULT ProductResult(const Call& call)
{
    try
    {
        return call();
    }
    catch (const CForeignException& rException)
    {
        return static_cast<HRESULT>(rException.dwCode);
    }
}
