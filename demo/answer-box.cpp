// Starts the program and answers its message box, in step with the script that started this one:
//   answer-box PROGRAM [ARGUMENT...]
// Each thing that happens is one line on the output, in UTF-8. After a line with a window's place on the screen it
// waits for a line of input, so that the script can take a picture of that window.
//   dialog WxH+X+Y           the progress dialog shows some progress
//   outcome WxH+X+Y TEXT     the message box shows; it is answered with OK
//   exit CODE                the program has ended
#include <windows.h>

#include <commctrl.h>
#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <string>

namespace
{

// The dialog and the message box have the same class and caption; only their controls tell them apart.
enum : int
{
    idProgressBar = 1001
};

HWND FindWindowOf(DWORD dwProcessId, int nControlId)
{
    HWND hWnd = nullptr;
    while ((hWnd = FindWindowExW(nullptr, hWnd, L"#32770", L"Kelvarin")))
    {
        DWORD dwOwnerId = 0;
        GetWindowThreadProcessId(hWnd, &dwOwnerId);
        if (dwOwnerId == dwProcessId && IsWindowVisible(hWnd) && GetDlgItem(hWnd, nControlId))
            return hWnd;
    }
    return nullptr;
}

std::string BoxText(HWND hBox)
{
    wchar_t sText[512] = L"";
    HWND hStatic = nullptr;
    while (!*sText && (hStatic = FindWindowExW(hBox, hStatic, L"Static", nullptr)))
        SendMessageW(hStatic, WM_GETTEXT, 512, reinterpret_cast<LPARAM>(sText));
    char sUtf8[2048] = "";
    WideCharToMultiByte(CP_UTF8, 0, sText, -1, sUtf8, sizeof sUtf8, nullptr, nullptr);
    return sUtf8;
}

// Says what the window is and waits until the script has its picture.
void Present(const char* sWhat, HWND hWnd, const std::string& sText)
{
    Sleep(150); // the window is there before it is painted
    RECT rect{};
    GetWindowRect(hWnd, &rect);
    std::printf("%s %ldx%ld+%ld+%ld %s\n", sWhat, rect.right - rect.left, rect.bottom - rect.top, rect.left, rect.top,
                sText.c_str());
    std::fflush(stdout);
    char sReply[16];
    std::fgets(sReply, sizeof sReply, stdin);
}

std::wstring CommandLine(int argc, wchar_t** argv)
{
    std::wstring sLine;
    for (int i = 1; i < argc; ++i)
        sLine += (i > 1 ? L" \"" : L"\"") + std::wstring(argv[i]) + L"\"";
    return sLine;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    _setmode(_fileno(stdout), _O_BINARY);
    std::wstring sCommand = CommandLine(argc, argv);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION process;
    if (!CreateProcessW(nullptr, sCommand.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &process))
    {
        std::fprintf(stderr, "The program does not start. [%lu]\n", GetLastError());
        return 1;
    }
    bool bDialogSeen = false;
    HWND hAnswered = nullptr;
    while (WaitForSingleObject(process.hProcess, 20) == WAIT_TIMEOUT)
    {
        const HWND hDialog = bDialogSeen ? nullptr : FindWindowOf(process.dwProcessId, idProgressBar);
        if (hDialog && SendDlgItemMessageW(hDialog, idProgressBar, PBM_GETPOS, 0, 0) > 0)
        {
            bDialogSeen = true;
            Present("dialog", hDialog, "");
        }
        const HWND hBox = FindWindowOf(process.dwProcessId, IDOK);
        if (hBox && hBox != hAnswered)
        {
            hAnswered = hBox;
            Present("outcome", hBox, BoxText(hBox));
            const HWND hButton = GetDlgItem(hBox, IDOK);
            PostMessageW(hBox, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), reinterpret_cast<LPARAM>(hButton));
        }
    }
    DWORD dwExitCode = 0;
    GetExitCodeProcess(process.hProcess, &dwExitCode);
    std::printf("exit 0x%08lX\n", dwExitCode);
    return 0;
}
