#include "e2e/Program.h"

#include <commctrl.h>

#include <cstdlib>
#include <regex>
#include <stdexcept>

#include "app/Resource.h"
#include "platform/Format.h"

namespace
{

constexpr UINT AnswerLimit = 2000; // milliseconds; the window may be gone between finding and asking it

bool Ask(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam, DWORD_PTR& rdwAnswer)
{
    return ::SendMessageTimeoutW(hWnd, nMessage, wParam, lParam, SMTO_NORMAL, AnswerLimit, &rdwAnswer) != 0;
}

bool TextOf(HWND hWnd, std::string& rsText)
{
    wchar_t aText[1024] = L"";
    DWORD_PTR dwLength = 0;
    if (!Ask(hWnd, WM_GETTEXT, std::size(aText), reinterpret_cast<LPARAM>(aText), dwLength))
        return false;
    rsText = Utf8(aText);
    return true;
}

void SampleDialog(HWND hDialog, HWND hBar, CRunReport& rReport)
{
    DWORD_PTR dwPosition = 0;
    std::string sText;
    if (!TextOf(hDialog, rReport.sDialogCaption) || !Ask(hBar, PBM_GETPOS, 0, 0, dwPosition) ||
        !TextOf(::GetDlgItem(hDialog, IDC_STATUS_TEXT), sText))
        return;
    rReport.Progress.emplace_back(static_cast<int>(dwPosition), sText);
}

void AnswerBox(HWND hBox, CRunReport& rReport)
{
    std::string sText;
    HWND hStatic = nullptr;
    while (sText.empty() && (hStatic = ::FindWindowExW(hBox, hStatic, L"Static", nullptr)) != nullptr)
        TextOf(hStatic, sText);
    if (sText.empty() || !TextOf(hBox, rReport.sBoxCaption))
        return;
    rReport.sBoxText = sText;
    ::PostMessageW(hBox, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), reinterpret_cast<LPARAM>(::GetDlgItem(hBox, IDOK)));
}

// The dialog and the box have the same class and caption; only their controls tell them apart.
void LookAtWindow(HWND hWnd, CRunReport& rReport)
{
    const bool bVisible = ::IsWindowVisible(hWnd);
    rReport.bWindowShown |= bVisible;
    if (const HWND hBar = ::GetDlgItem(hWnd, IDC_PROGRESS_BAR))
        SampleDialog(hWnd, hBar, rReport);
    else if (bVisible && ::GetDlgItem(hWnd, IDOK) != nullptr)
        AnswerBox(hWnd, rReport);
}

} // namespace

CProgramRun::CProgramRun(std::wstring sCommandLine)
{
    STARTUPINFOW Start{};
    Start.cb = sizeof Start;
    PROCESS_INFORMATION Process{};
    if (!::CreateProcessW(nullptr, sCommandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &Start, &Process))
        throw std::runtime_error("cannot start " + Utf8(sCommandLine));
    ::CloseHandle(Process.hThread);
    m_hProcess.Attach(Process.hProcess);
    m_dwId = Process.dwProcessId;
}

CProgramRun::~CProgramRun()
{
    Kill();
}

void CProgramRun::Kill() const
{
    ::TerminateProcess(m_hProcess.Get(), 1);
    ::WaitForSingleObject(m_hProcess.Get(), 5000);
}

std::vector<HWND> CProgramRun::Windows() const
{
    std::vector<HWND> Windows;
    for (HWND hWnd = nullptr; (hWnd = ::FindWindowExW(nullptr, hWnd, nullptr, nullptr)) != nullptr;)
    {
        DWORD dwOwner = 0;
        ::GetWindowThreadProcessId(hWnd, &dwOwner);
        if (dwOwner == m_dwId)
            Windows.push_back(hWnd);
    }
    return Windows;
}

HWND CProgramRun::WaitForText(const std::string& sStart) const
{
    while (::WaitForSingleObject(m_hProcess.Get(), 5) == WAIT_TIMEOUT)
    {
        for (const HWND hWnd : Windows())
        {
            const HWND hText = ::GetDlgItem(hWnd, IDC_STATUS_TEXT);
            std::string sText;
            if (hText != nullptr && TextOf(hText, sText) && sText.starts_with(sStart))
                return hWnd;
        }
    }
    return nullptr;
}

CRunReport CProgramRun::Watch(DWORD dwLimit) const
{
    CRunReport report;
    const ULONGLONG ullEnd = ::GetTickCount64() + dwLimit;
    while (::WaitForSingleObject(m_hProcess.Get(), 10) == WAIT_TIMEOUT)
    {
        if (::GetTickCount64() > ullEnd)
            throw std::runtime_error("the program does not end");
        for (const HWND hWnd : Windows())
            LookAtWindow(hWnd, report);
    }
    ::GetExitCodeProcess(m_hProcess.Get(), &report.dwExitCode);
    return report;
}

CInstallation::CInstallation()
{
    const wchar_t* const pProgram = ::_wgetenv(L"KELVARIN_EXE");
    if (pProgram == nullptr || !::CopyFileW(pProgram, (m_Folder / L"Kelvarin.exe").c_str(), TRUE))
        throw std::runtime_error("KELVARIN_EXE must name the program");
}

std::wstring CInstallation::CommandLine(const std::wstring& sSwitches) const
{
    return FormatText(L"\"%s\" \"-l%s\" \"-path:result%s\" %s", m_Folder / L"Kelvarin.exe", m_Folder / L"out",
                      ResultFolder(), sSwitches);
}

std::vector<std::string> CInstallation::Messages(const std::string& sFunction) const
{
    const std::string sPrefix = "[" + sFunction + "] ";
    std::vector<std::string> Messages;
    for (const CLogLine& rLine : LogLines())
    {
        if (rLine.sText.starts_with(sPrefix))
            Messages.push_back(rLine.sText.substr(sPrefix.size()));
    }
    return Messages;
}

std::vector<std::string> ReadLines(const std::wstring& sPath)
{
    std::vector<std::string> Lines;
    const std::string sText = ReadBytes(sPath);
    for (std::size_t n = 0; n < sText.size();)
    {
        const std::size_t nEnd = sText.find("\r\n", n);
        if (nEnd == sText.npos)
            throw std::runtime_error("a torn line: " + sText.substr(n));
        Lines.push_back(sText.substr(n, nEnd - n));
        n = nEnd + 2;
    }
    return Lines;
}

std::vector<CLogLine> ReadLog(const std::wstring& sPath)
{
    static const std::regex Prefix(
        R"(\[\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\]\[([0-9A-F]+)\] (?:\d{5}:(?=\[[A-Za-z][\w:~]+\] )|(?=-{79}$|[A-Z]:\\)))");
    std::vector<CLogLine> Lines;
    for (const std::string& rLine : ReadLines(sPath))
    {
        std::smatch Match;
        const std::string sStart = rLine.substr(0, 200);
        if (!std::regex_search(sStart, Match, Prefix, std::regex_constants::match_continuous))
            throw std::runtime_error("no line of the log: " + rLine);
        Lines.push_back({ static_cast<DWORD>(std::stoul(Match[1], nullptr, 16)),
                          rLine.substr(static_cast<std::size_t>(Match.length())) });
    }
    return Lines;
}
