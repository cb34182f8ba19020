// A lock within the process, and its scope.
#pragma once

#include <optional>

#include "platform/HResult.h"
#include "platform/Win32.h"

// The thread that holds it may take it again.
class CLock
{
public:
    // Throws the platform's HRESULT.
    CLock()
    {
        if (!::InitializeCriticalSectionAndSpinCount(&m_Section, 0))
            throw LastErrorResult(E_FAIL);
    }
    ~CLock() { ::DeleteCriticalSection(&m_Section); }
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;

    void Lock() { ::EnterCriticalSection(&m_Section); }
    void Unlock() { ::LeaveCriticalSection(&m_Section); }

private:
    CRITICAL_SECTION m_Section;
};

// Makes a lock for an object that begins its life without one.
[[nodiscard]] inline HRESULT MakeLock(std::optional<CLock>& rLock)
{
    try
    {
        rLock.emplace();
        return S_OK;
    }
    catch (HRESULT hr)
    {
        return hr;
    }
}

// Holds whatever has Lock and Unlock.
template <typename T>
class CLockScope
{
public:
    explicit CLockScope(T& rLock) : m_rLock(rLock) { m_rLock.Lock(); }
    ~CLockScope() { m_rLock.Unlock(); }
    CLockScope(const CLockScope&) = delete;
    CLockScope& operator=(const CLockScope&) = delete;

private:
    T& m_rLock;
};
