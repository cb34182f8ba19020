#include "platform/AppModule.h"

#include "platform/HResult.h"

int CMessageLoop::Run()
{
    MSG Message{};
    for (;;)
    {
        // In this order: a quit message that came before the answer must be taken here, or the next box would end by
        // it.
        if (m_pbQuit != nullptr && *m_pbQuit && !::PeekMessageW(&Message, nullptr, 0, 0, PM_NOREMOVE))
            return 0;
        const BOOL bGot = ::GetMessageW(&Message, nullptr, 0, 0);
        if (bGot == -1)
            continue;
        if (bGot == 0)
            return static_cast<int>(Message.wParam);
        ::TranslateMessage(&Message);
        ::DispatchMessageW(&Message);
    }
}

HRESULT CAppModule::Init()
{
    if (!::InitializeCriticalSectionAndSpinCount(&m_Lock, 0))
        return LastErrorResult();
    m_bLockMade = true;
    m_dwMainThreadId = ::GetCurrentThreadId();
    return S_OK;
}

void CAppModule::Term()
{
    m_Loops.clear();
    if (m_bLockMade)
        ::DeleteCriticalSection(&m_Lock);
    m_bLockMade = false;
}

bool CAppModule::AddMessageLoop(CMessageLoop* pLoop)
{
    ::EnterCriticalSection(&m_Lock);
    const bool bAdded = m_Loops.emplace(::GetCurrentThreadId(), pLoop).second;
    ::LeaveCriticalSection(&m_Lock);
    return bAdded;
}

bool CAppModule::RemoveMessageLoop()
{
    ::EnterCriticalSection(&m_Lock);
    const bool bRemoved = m_Loops.erase(::GetCurrentThreadId()) != 0;
    ::LeaveCriticalSection(&m_Lock);
    return bRemoved;
}
