// The program's dialog, never shown, and what it is told while the object lives. One at a time.
#pragma once

#include <string>

#include "app/KelvarinApp.h"
#include "support/ImportPatch.h"
#include "support/TestFolder.h"

class CProgressWatch
{
public:
    CProgressWatch()
    {
        s_Seen.clear();
        Dialog().ResetClients();
        Dialog().Create(nullptr);
    }
    ~CProgressWatch()
    {
        Dialog().DestroyWindow();
        Dialog().ResetClients();
    }
    // "percent text", a line for each message; a test may add lines of its own.
    std::string& Seen() { return s_Seen; }

private:
    static CProgressDlg& Dialog() { return CKelvarinApp::GetApp().m_ProgressDlg; }
    static BOOL WINAPI Post(HWND, UINT, WPARAM, LPARAM)
    {
        s_Seen += std::to_string(Dialog().GetPercentage()) + ' ' + Utf8(Dialog().GetStatusText()) + "\r\n";
        return TRUE;
    }

    static inline std::string s_Seen;
    CImportPatch<decltype(::PostMessageW)> m_Post{ "PostMessageW", Post };
};
