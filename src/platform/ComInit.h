// COM for the calling thread, as a scope.
#pragma once

#include <objbase.h>

#include "platform/Win32.h"

class COpdComInit
{
public:
    COpdComInit() : m_hr(::CoInitialize(nullptr)) {}
    ~COpdComInit()
    {
        if (SUCCEEDED(m_hr))
            ::CoUninitialize();
    }
    COpdComInit(const COpdComInit&) = delete;
    COpdComInit& operator=(const COpdComInit&) = delete;

    HRESULT GetResult() const { return m_hr; }

private:
    HRESULT m_hr;
};

// The same for a thread that chooses its apartment: COINIT_MULTITHREADED or COINIT_APARTMENTTHREADED.
class CComApartment
{
public:
    explicit CComApartment(DWORD dwApartment) : m_hr(::CoInitializeEx(nullptr, dwApartment)) {}
    ~CComApartment()
    {
        if (SUCCEEDED(m_hr))
            ::CoUninitialize();
    }
    CComApartment(const CComApartment&) = delete;
    CComApartment& operator=(const CComApartment&) = delete;

    HRESULT GetResult() const { return m_hr; }

private:
    HRESULT m_hr;
};
