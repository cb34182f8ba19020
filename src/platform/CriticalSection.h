// The lock of one process, and its scope.
#pragma once

#include "platform/HResult.h"
#include "platform/Win32.h"

class CSection
{
public:
    // Throws the platform's HRESULT.
    CSection()
    {
        if (!::InitializeCriticalSectionAndSpinCount(&m_Section, 0))
            throw LastErrorResult(E_FAIL);
    }
    ~CSection() { ::DeleteCriticalSection(&m_Section); }
    CSection(const CSection&) = delete;
    CSection& operator=(const CSection&) = delete;

    void Enter() { ::EnterCriticalSection(&m_Section); }
    void Leave() { ::LeaveCriticalSection(&m_Section); }

private:
    CRITICAL_SECTION m_Section;
};

class CSectionScope
{
public:
    explicit CSectionScope(CSection& rSection) : m_rSection(rSection) { m_rSection.Enter(); }
    ~CSectionScope() { m_rSection.Leave(); }
    CSectionScope(const CSectionScope&) = delete;
    CSectionScope& operator=(const CSectionScope&) = delete;

private:
    CSection& m_rSection;
};
