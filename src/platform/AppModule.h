// The application module: the main thread's id and the table of message loops, one a thread.
#pragma once

#include <functional>
#include <map>

#include "platform/Win32.h"

// The standard message loop of a thread.
class CMessageLoop
{
public:
    // Pumps until the quit message; gives its parameter.
    int Run();

    // Asked before the loop waits. True ends it like a quit message, once the queue is empty: a modal loop of the
    // system (a window that is dragged, a menu) swallows the quit message itself.
    void SetIdleQuit(std::function<bool()> fnIdleQuit) { m_fnIdleQuit = std::move(fnIdleQuit); }

private:
    std::function<bool()> m_fnIdleQuit;
};

class CAppModule
{
public:
    CAppModule() = default;
    CAppModule(const CAppModule&) = delete;
    CAppModule& operator=(const CAppModule&) = delete;
    virtual ~CAppModule() = default;

    // Records the calling thread as the main thread.
    HRESULT Init(HINSTANCE hInstance);
    void Term();

    // The loop of the calling thread, borrowed.
    bool AddMessageLoop(CMessageLoop* pLoop);
    bool RemoveMessageLoop();

    DWORD GetMainThreadId() const { return m_dwMainThreadId; }
    HINSTANCE GetInstance() const { return m_hInstance; }

private:
    HINSTANCE m_hInstance = nullptr;
    DWORD m_dwMainThreadId = 0;
    bool m_bLockMade = false;
    CRITICAL_SECTION m_Lock{};
    std::map<DWORD, CMessageLoop*> m_Loops;
};
