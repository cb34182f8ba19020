// COM for the calling thread, as a scope.
#pragma once

#include <objbase.h>

#include "platform/Win32.h"

class COpdComInit
{
public:
    COpdComInit() : m_hr(::CoInitialize(nullptr)) {}
    // COINIT_MULTITHREADED or COINIT_APARTMENTTHREADED.
    explicit COpdComInit(DWORD dwApartment) : m_hr(::CoInitializeEx(nullptr, dwApartment)) {}
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
