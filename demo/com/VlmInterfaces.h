// The sample product's own interfaces.
#pragma once

#include <windows.h>

#include <objidl.h>
#include <oleauto.h>

// Adds no operation to IPersist, whose proxy therefore serves for this one too.
struct IVlmIdentity : IPersist
{};
__CRT_UUID_DECL(IVlmIdentity, 0x5D0E6B10, 0x3C44, 0x4F0A, 0x9A, 0x41, 0x7B, 0x1C, 0x2D, 0x9E, 0x60, 0x01)

// Has no proxy: it can be had in the object's own apartment only.
struct IVlmInner : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE getObjectCount(LONG* pnCount) = 0;
};
__CRT_UUID_DECL(IVlmInner, 0x5D0E6B10, 0x3C44, 0x4F0A, 0x9A, 0x41, 0x7B, 0x1C, 0x2D, 0x9E, 0x60, 0x02)

struct IVlmSxs : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE enableKB843524Hack(INT32 nEnable) = 0;
};
__CRT_UUID_DECL(IVlmSxs, 0x3ABBB21C, 0xD223, 0x4B25, 0x8B, 0xDF, 0x3F, 0xFB, 0x76, 0xFB, 0x58, 0x23)

struct IVlmSysInfo3 : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE getRegion(INT32* pnRegion) = 0;
};
__CRT_UUID_DECL(IVlmSysInfo3, 0xDEE60212, 0xFF9A, 0x44C1, 0xA2, 0xE3, 0x88, 0x0F, 0x32, 0x96, 0x80, 0x55)

struct IVlmBackup : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE createBackupImage(BSTR sPath, REFIID iidCallback, IUnknown* pCallback) = 0;
};
__CRT_UUID_DECL(IVlmBackup, 0x22E3D7E1, 0x3AD5, 0x11D5, 0x83, 0x1A, 0x00, 0x60, 0x97, 0x03, 0xEE, 0xCF)

struct IVlmBackupCallback : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE onProgress(INT32 nPercent) = 0;
};
__CRT_UUID_DECL(IVlmBackupCallback, 0x8AC36DE3, 0x4209, 0x11D5, 0x83, 0x1A, 0x00, 0x60, 0x97, 0x03, 0xEE, 0xCF)
