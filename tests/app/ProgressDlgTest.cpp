#include "app/ProgressDlg.h"

#include <commctrl.h>

#include <gtest/gtest.h>

#include <thread>

#include "support/TestFolder.h"

namespace
{

constexpr int BarId = 1001; // other programs find the controls by these numbers
constexpr int TextId = 1002;

// What stands in the dialog once the messages so far are handled: "66 text".
std::string Shown(HWND hDialog)
{
    MSG Message;
    while (::PeekMessageW(&Message, nullptr, 0, 0, PM_REMOVE))
        ::DispatchMessageW(&Message);
    wchar_t aText[512] = L"";
    ::GetDlgItemTextW(hDialog, TextId, aText, 512);
    return std::to_string(::SendDlgItemMessageW(hDialog, BarId, PBM_GETPOS, 0, 0)) + ' ' + Utf8(aText);
}

// A wrong sum or clamp makes the bar run past its end or stand still. (How ordinary clients add up, the goldens of the
// check and of the collection show.)
TEST(ProgressDlg, AddsUpItsClients)
{
    CProgressDlg dialog;
    dialog.AddClient(L"empty", 0, L"Nothing to do");
    dialog.UpdateProgress(L"empty", 5, L"");
    EXPECT_EQ(dialog.GetPercentage(), 0);
    dialog.AddClient(L"a", 100, L"A");
    dialog.UpdateProgress(L"a", 1000, L"");
    EXPECT_EQ(dialog.GetPercentage(), 100);
    EXPECT_EQ(dialog.GetStatusText(), L"A");
    // Sums above 32 bits, of a client that begins anew and another one.
    dialog.AddClient(L"a", 0xFFFFFFFF, L"");
    dialog.AddClient(L"b", 0xFFFFFFFF, L"");
    dialog.UpdateProgress(L"a", 0xFFFFFFFF, L"");
    EXPECT_EQ(dialog.GetPercentage(), 50);
}

// The worker only posts: the window must follow once its own thread handles the messages, and survive late ones.
// Nobody's typing may go to it.
TEST(ProgressDlg, ShowsTheTableWhenItsThreadHandlesTheMessages)
{
    const HWND hOther = ::CreateWindowW(L"EDIT", L"", WS_VISIBLE, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    ::SetFocus(hOther);
    CProgressDlg dialog;
    const HWND hDialog = dialog.Create(nullptr);
    ASSERT_NE(hDialog, nullptr) << ::GetLastError();
    dialog.ShowWindow(SW_SHOWNA);
    EXPECT_EQ(::GetFocus(), hOther);
    ::DestroyWindow(hOther);
    dialog.AddClient(L"a", 100, L"done");
    EXPECT_EQ(Shown(hDialog), "0 start pending...") << "a new client posts nothing";
    dialog.UpdateProgress(L"unknown", 5, L"lost");
    EXPECT_EQ(Shown(hDialog), "0 ") << "an unknown name posts";
    dialog.UpdateProgress(L"a", 40, L"%s & C:\\a long path");
    EXPECT_EQ(Shown(hDialog), "40 %s & C:\\a long path");
    std::thread([&dialog] {
        for (UINT32 nPosition = 1; nPosition <= 100; ++nPosition)
            dialog.UpdateProgress(L"a", nPosition, L"");
    }).join();
    EXPECT_EQ(Shown(hDialog), "100 done");

    ::SendMessageW(hDialog, WM_CLOSE, 0, 0);
    EXPECT_TRUE(::IsWindow(hDialog));
    dialog.DestroyWindow();
    dialog.UpdateProgress(L"a", 50, L"late");
    EXPECT_EQ(dialog.GetPercentage(), 50);
}

} // namespace
