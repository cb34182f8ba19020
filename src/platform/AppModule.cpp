#include "platform/AppModule.h"

int CMessageLoop::Run()
{
    MSG Message{};
    for (;;)
    {
        // First the flag, then the queue: a quit message posted before the flag was set must be taken here, or the next
        // message box would end at once.
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
    m_dwMainThreadId = ::GetCurrentThreadId();
    return MakeLock(m_Lock);
}

void CAppModule::Term()
{
    m_Loops.clear();
    m_Lock.reset();
}

bool CAppModule::AddMessageLoop(CMessageLoop* pLoop)
{
    const CLockScope lock(*m_Lock); // NOLINT(bugprone-unchecked-optional-access): there is one from Init to Term
    return m_Loops.emplace(::GetCurrentThreadId(), pLoop).second;
}

bool CAppModule::RemoveMessageLoop()
{
    const CLockScope lock(*m_Lock); // NOLINT(bugprone-unchecked-optional-access): there is one from Init to Term
    return m_Loops.erase(::GetCurrentThreadId()) != 0;
}
