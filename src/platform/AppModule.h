// The application module: the main thread's id and the table of message loops, one a thread.
#pragma once

#include <atomic>
#include <map>
#include <optional>

#include "platform/Lock.h"
#include "platform/Win32.h"

// The standard message loop of a thread.
class CMessageLoop
{
public:
    // Pumps until the quit message; gives its parameter.
    int Run();

    // A flag, borrowed, that is asked before the loop waits. Set, it ends the loop like a quit message, once the queue
    // is empty: a modal loop of the system (a window that is dragged, a menu) swallows the quit message itself.
    void SetQuitFlag(const std::atomic<bool>* pbQuit) { m_pbQuit = pbQuit; }

private:
    const std::atomic<bool>* m_pbQuit = nullptr;
};

class CAppModule
{
public:
    CAppModule() = default;
    CAppModule(const CAppModule&) = delete;
    CAppModule& operator=(const CAppModule&) = delete;
    virtual ~CAppModule() = default;

    // Records the calling thread as the main thread.
    HRESULT Init();
    void Term();

    // The loop of the calling thread, borrowed.
    bool AddMessageLoop(CMessageLoop* pLoop); // false: it has one already
    bool RemoveMessageLoop();                 // false: it has none

    DWORD GetMainThreadId() const { return m_dwMainThreadId; }

private:
    DWORD m_dwMainThreadId = 0;
    std::optional<CLock> m_Lock; // from Init to Term
    std::map<DWORD, CMessageLoop*> m_Loops;
};
