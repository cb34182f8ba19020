// The sample product's ordinary objects, and the ways in which an object can misbehave.
#include "Objects.h"
#include "Unknown.h"
#include "VlmInterfaces.h"

namespace
{

constexpr DWORD ForeignCode = 0xE06D7363;
constexpr DWORD AnswerWait = 2000; // milliseconds
constexpr int StormMessages = 5000;

EXCEPTION_DISPOSITION __cdecl ResumeForeign(EXCEPTION_RECORD* pRecord, void*, CONTEXT*, void*)
{
    return pRecord->ExceptionCode == ForeignCode ? ExceptionContinueExecution : ExceptionContinueSearch;
}

// A frame of this library deals with the exception before any frame outside it is asked.
__attribute__((noinline)) void RaiseAndCatch()
{
    volatile struct
    {
        void* pNext;
        void* pHandler;
    } Frame{ nullptr, reinterpret_cast<void*>(&ResumeForeign) };
    void* pNext = nullptr;
    __asm__ volatile("movl %%fs:0, %0" : "=r"(pNext));
    Frame.pNext = pNext;
    __asm__ volatile("movl %0, %%fs:0" : : "r"(&Frame) : "memory");
    RaiseForeign(0);
    __asm__ volatile("movl %0, %%fs:0" : : "r"(pNext) : "memory");
}

LRESULT CALLBACK AnswerProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    if (nMessage == WM_APP)
        ::SetEvent(reinterpret_cast<HANDLE>(lParam));
    return ::DefWindowProcW(hWnd, nMessage, wParam, lParam);
}

DWORD CALLBACK PostStorm(void* pThreadId)
{
    for (int n = 0; n < StormMessages; ++n)
        ::PostThreadMessageW(reinterpret_cast<DWORD>(pThreadId), WM_APP, 0, 0);
    return 0;
}

class CProductObject final : public CUnknown<IVlmIdentity, IVlmInner>
{
public:
    CProductObject(REFCLSID rClsid, const CBehavior& rBehavior) : m_clsid(rClsid), m_Behavior(rBehavior)
    {
        if (m_Behavior.Has(L"load-module"))
            ::LoadLibraryW(m_Behavior.sModule.c_str());
        if (m_Behavior.Has(L"free-threaded"))
            ::CoCreateFreeThreadedMarshaler(static_cast<IVlmIdentity*>(this), &m_pMarshaler);
        if (m_Behavior.Has(L"answer-by-message"))
        {
            m_hWnd = ::CreateWindowW(L"Static", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
            ::SetWindowLongPtrW(m_hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&AnswerProc));
        }
        if (m_Behavior.Has(L"message-storm"))
        {
            MSG Message;
            ::PeekMessageW(&Message, nullptr, 0, 0, PM_NOREMOVE); // makes the thread's queue
            m_hStorm = ::CreateThread(nullptr, 0, PostStorm, reinterpret_cast<void*>(m_dwThreadId), 0, nullptr);
        }
    }

    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override
    {
        *ppObject = nullptr;
        if (riid == IID_IUnknown && m_Behavior.Has(L"refuse-unknown"))
            return E_NOINTERFACE;
        if (riid == IID_IMarshal && m_pMarshaler != nullptr)
            return m_pMarshaler->QueryInterface(riid, ppObject);
        if (riid == IID_IPersist || riid == __uuidof(IVlmIdentity))
        {
            if (m_Behavior.Has(L"throw-query"))
                RaiseForeign();
            if (m_Behavior.Has(L"catch-inside"))
                RaiseAndCatch();
            if (m_hWnd != nullptr && !IsAnswered())
                return RPC_E_TIMEOUT;
            if (m_Behavior.Has(L"other-objects"))
            {
                *ppObject = static_cast<IVlmIdentity*>(new CProductObject(m_clsid, {}));
                return S_OK;
            }
        }
        return CUnknown::QueryInterface(riid, ppObject);
    }
    STDMETHODIMP_(ULONG) Release() override
    {
        const bool bThrow = m_Behavior.Has(L"throw-release");
        const ULONG nReferences = CUnknown::Release();
        if (nReferences == 0 && bThrow)
            RaiseForeign();
        return nReferences;
    }
    STDMETHODIMP GetClassID(CLSID* pClsid) override
    {
        *pClsid = m_clsid;
        return S_OK;
    }
    STDMETHODIMP getObjectCount(LONG* pnCount) override
    {
        *pnCount = g_nObjects;
        return S_OK;
    }

private:
    ~CProductObject() override
    {
        if (m_hStorm != nullptr)
        {
            ::WaitForSingleObject(m_hStorm, INFINITE);
            ::CloseHandle(m_hStorm);
        }
        if (m_hWnd != nullptr)
            ::DestroyWindow(m_hWnd);
        if (m_pMarshaler != nullptr)
            m_pMarshaler->Release();
    }
    void* Find(REFIID riid) override
    {
        return riid == IID_IPersist ? static_cast<IPersist*>(this) : CUnknown::Find(riid);
    }

    bool IsAnswered() const
    {
        if (::GetCurrentThreadId() == m_dwThreadId)
            return true;
        const HANDLE hAnswer = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        ::PostMessageW(m_hWnd, WM_APP, 0, reinterpret_cast<LPARAM>(hAnswer));
        const bool bAnswered = ::WaitForSingleObject(hAnswer, AnswerWait) == WAIT_OBJECT_0;
        ::CloseHandle(hAnswer);
        return bAnswered;
    }

    CLSID m_clsid;
    CBehavior m_Behavior;
    DWORD m_dwThreadId = ::GetCurrentThreadId();
    IUnknown* m_pMarshaler = nullptr;
    HWND m_hWnd = nullptr;
    HANDLE m_hStorm = nullptr;
};

} // namespace

void RaiseForeign(DWORD dwFlags)
{
    static const ULONG_PTR s_aArguments[] = { 0x19930520, 0, 0 }; // magic number, object, type: none is looked at here
    ::RaiseException(ForeignCode, dwFlags, 3, s_aArguments);
}

IUnknown* MakeProductObject(REFCLSID rClsid, const CBehavior& rBehavior)
{
    return static_cast<IVlmIdentity*>(new CProductObject(rClsid, rBehavior));
}
