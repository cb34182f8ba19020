#include "app/ProgressDlg.h"

#include <commctrl.h>

#include <algorithm>

#include "app/Resource.h"
#include "platform/SystemLibrary.h"

const UINT CProgressDlg::m_umsg_UpdateProgress = ::RegisterWindowMessageW(L"CProgressDlg::m_umsg_UpdateProgress");

HWND CProgressDlg::Create(HWND hParent)
{
    // The controls load it when they first draw, and older systems would then look beside the program first.
    [[maybe_unused]] static const HMODULE s_hImages = LoadSystemLibrary(L"msimg32.dll").Detach();
    const INITCOMMONCONTROLSEX Controls{ sizeof Controls, ICC_PROGRESS_CLASS | ICC_STANDARD_CLASSES };
    ::InitCommonControlsEx(&Controls);
    return ::CreateDialogParamW(::GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_PROGRESS), hParent, GetDialogProc(),
                                reinterpret_cast<LPARAM>(this));
}

void CProgressDlg::CenterWindow() const
{
    RECT Window;
    MONITORINFO Monitor{};
    Monitor.cbSize = sizeof Monitor;
    if (!::GetWindowRect(m_hWnd, &Window) ||
        !::GetMonitorInfoW(::MonitorFromWindow(m_hWnd, MONITOR_DEFAULTTONEAREST), &Monitor))
        return;
    const RECT& rArea = Monitor.rcWork;
    const LONG nLeft = std::max(rArea.left, (rArea.left + rArea.right) / 2 - (Window.right - Window.left) / 2);
    const LONG nTop = std::max(rArea.top, (rArea.top + rArea.bottom) / 2 - (Window.bottom - Window.top) / 2);
    ::SetWindowPos(m_hWnd, nullptr, nLeft, nTop, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void CProgressDlg::ShowWindow(int nCommand) const
{
    ::ShowWindow(m_hWnd, nCommand);
}

void CProgressDlg::DestroyWindow()
{
    if (::IsWindow(m_hWnd))
        ::DestroyWindow(m_hWnd);
}

void CProgressDlg::ResetClients()
{
    const CLockScope lock(m_Lock);
    m_Clients.clear();
    PostUpdate();
}

void CProgressDlg::AddClient(const std::wstring& sName, UINT32 nRange, const std::wstring& sText)
{
    const CLockScope lock(m_Lock);
    m_Clients[sName] = { nRange, 0, sText };
}

void CProgressDlg::UpdateProgress(const std::wstring& sName, UINT32 nPosition, const std::wstring& sText)
{
    const CLockScope lock(m_Lock);
    const auto itClient = m_Clients.find(sName);
    if (itClient != m_Clients.end())
    {
        CClient& rClient = itClient->second;
        rClient.nPosition = std::min(nPosition, rClient.nRange);
        m_sStatusText = sText.empty() ? rClient.sText : sText;
    }
    PostUpdate();
}

int CProgressDlg::GetPercentage()
{
    const CLockScope lock(m_Lock);
    double fRange = 0.0;
    double fPosition = 0.0;
    for (const auto& [sName, rClient] : m_Clients)
    {
        fRange += rClient.nRange;
        fPosition += rClient.nPosition;
    }
    return fRange == 0.0 ? 0 : static_cast<int>(fPosition * 100.0 / fRange);
}

std::wstring CProgressDlg::GetStatusText()
{
    const CLockScope lock(m_Lock);
    return m_sStatusText;
}

void CProgressDlg::PostUpdate() const
{
    const HWND hWnd = m_hWnd;
    if (::IsWindow(hWnd))
        ::PostMessageW(hWnd, m_umsg_UpdateProgress, 0, 0);
}

DLGPROC CProgressDlg::GetDialogProc()
{
    return DialogProc;
}

INT_PTR CALLBACK CProgressDlg::DialogProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    if (nMessage == WM_INITDIALOG)
    {
        ::SetWindowLongPtrW(hWnd, DWLP_USER, lParam);
        reinterpret_cast<CProgressDlg*>(lParam)->m_hWnd = hWnd;
    }
    auto* const pDialog = reinterpret_cast<CProgressDlg*>(::GetWindowLongPtrW(hWnd, DWLP_USER));
    if (pDialog == nullptr)
        return FALSE;
    LRESULT lResult = 0;
    const BOOL bHandled = pDialog->ProcessWindowMessage(hWnd, nMessage, wParam, lParam, lResult);
    if (nMessage == WM_NCDESTROY)
    {
        pDialog->m_hWnd = nullptr;
        pDialog->OnFinalMessage(hWnd);
    }
    return bHandled;
}

BOOL CProgressDlg::ProcessWindowMessage(HWND, UINT nMessage, WPARAM, LPARAM, LRESULT&)
{
    if (nMessage == WM_INITDIALOG)
    {
        OnInitDialog();
        return FALSE; // TRUE would give the window, still hidden, the focus, and so the foreground
    }
    if (nMessage == m_umsg_UpdateProgress)
    {
        OnUpdateProgress();
        return TRUE;
    }
    // No handler for WM_CLOSE: the close item is grey, and the run ends only when the worker ends it.
    return FALSE;
}

void CProgressDlg::OnInitDialog()
{
    CenterWindow();
    m_hProgressBar = ::GetDlgItem(m_hWnd, IDC_PROGRESS_BAR);
    m_hStatusText = ::GetDlgItem(m_hWnd, IDC_STATUS_TEXT);
    ::SendMessageW(m_hProgressBar, PBM_SETRANGE, 0, MAKELPARAM(0, 100));
    // Blanked by the first update, which comes before anybody has a text; it stays for the sake of slow starts.
    ::SetWindowTextW(m_hStatusText, L"start pending...");
    ::EnableMenuItem(::GetSystemMenu(m_hWnd, FALSE), SC_CLOSE, MF_BYCOMMAND | MF_GRAYED);
}

// The lock is held across the two window calls: the window is the calling thread's own, and the others only post.
void CProgressDlg::OnUpdateProgress()
{
    const CLockScope lock(m_Lock);
    ::SendMessageW(m_hProgressBar, PBM_SETPOS, static_cast<WPARAM>(GetPercentage()), 0);
    ::SetWindowTextW(m_hStatusText, m_sStatusText.c_str());
}
