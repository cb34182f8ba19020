// The progress dialog: a bar and one line of text. Many parts report to it from any thread, each as a client with a
// range of its own; the bar shows the sum over all clients. The window belongs to the main thread: the others change
// the table under a lock and post one message.
#pragma once

#include <atomic>
#include <map>
#include <string>

#include "platform/Lock.h"

class CProgressDlg
{
protected:
    virtual BOOL ProcessWindowMessage(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam, LRESULT& rlResult);

public:
    CProgressDlg() = default;
    CProgressDlg(const CProgressDlg&) = delete;
    CProgressDlg& operator=(const CProgressDlg&) = delete;
    virtual ~CProgressDlg() = default;

    // The window, hidden, on the calling thread; null when it cannot be made (the last error says why).
    HWND Create(HWND hParent);
    void CenterWindow() const;
    void ShowWindow(int nCommand) const;
    void DestroyWindow();

    // Any thread may call these, with or without a window.
    void ResetClients();
    // A new client, or a known one anew, at position 0. Shows at the next update only.
    void AddClient(const std::wstring& sName, UINT32 nRange, const std::wstring& sText);
    // The position is held at the client's range. An empty text shows the client's own. An unknown name changes
    // nothing, but the window is told all the same.
    void UpdateProgress(const std::wstring& sName, UINT32 nPosition, const std::wstring& sText);

    // What the window shows at the next update: 0 to 100, truncated, and the text.
    int GetPercentage();
    std::wstring GetStatusText();

protected:
    virtual DLGPROC GetDialogProc();
    virtual void OnFinalMessage(HWND) {}

private:
    struct CClient
    {
        UINT32 nRange = 0;
        UINT32 nPosition = 0;
        std::wstring sText;
    };

    static INT_PTR CALLBACK DialogProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam);
    void OnInitDialog();
    void OnUpdateProgress();
    void PostUpdate() const;

    static const UINT m_umsg_UpdateProgress;

    std::atomic<HWND> m_hWnd{ nullptr }; // any thread posts to it
    CLock m_Lock;
    HWND m_hProgressBar = nullptr;
    HWND m_hStatusText = nullptr;
    std::map<std::wstring, CClient> m_Clients;
    std::wstring m_sStatusText;
};
