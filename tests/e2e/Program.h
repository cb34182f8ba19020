// The real program in a folder of its own, beside the manifest that a test gives it, watched as any other process can
// watch it: by its windows, its exit code and its files.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/Handle.h"
#include "support/TestFolder.h"

// What was seen of one run. Texts are UTF-8.
struct CRunReport
{
    DWORD dwExitCode = 0;
    bool bWindowShown = false; // any window at all
    std::string sDialogCaption;
    std::vector<std::pair<int, std::string>> Progress; // the bar and the text of the dialog, shown or not
    std::string sBoxCaption;                           // of the message box, which was answered with OK
    std::string sBoxText;
};

// A started process; one that still runs at the end is killed.
class CProgramRun
{
public:
    explicit CProgramRun(std::wstring sCommandLine);
    ~CProgramRun();
    CProgramRun(const CProgramRun&) = delete;
    CProgramRun& operator=(const CProgramRun&) = delete;

    DWORD Id() const { return m_dwId; }
    // Follows the process to its end; throws std::runtime_error when that takes longer than dwLimit milliseconds.
    CRunReport Watch(DWORD dwLimit = 30000) const;
    // Waits until the dialog, shown or not, has a text that begins so; null when that never happens.
    HWND WaitForText(const std::string& sStart) const;
    void Kill() const;

private:
    std::vector<HWND> Windows() const;

    CKernelHandle m_hProcess;
    DWORD m_dwId = 0;
};

// A line of Kelvarin.log: who wrote it, and "[CThing::Read] message" or a line of the banner.
struct CLogLine
{
    DWORD dwProcessId;
    std::string sText;
};

// A text file's lines; throws std::runtime_error unless the last one too ends with CR LF.
std::vector<std::string> ReadLines(const std::wstring& sPath);
std::vector<CLogLine> ReadLog(const std::wstring& sPath);

class CInstallation
{
public:
    CInstallation();
    explicit CInstallation(const std::string& sManifest) : CInstallation()
    {
        m_Folder.Write(L"Kelvarin.xml", sManifest);
    }

    const CTestFolder& Folder() const { return m_Folder; }
    std::wstring ResultFolder() const { return m_Folder / L"result"; }
    std::wstring ResultFile() const { return ResultFolder() + L"\\InstallCheckResult.txt"; }
    // The command line with the folders below the installation's own; sSwitches comes last and may name others.
    std::wstring CommandLine(const std::wstring& sSwitches) const;
    CRunReport Run(const std::wstring& sSwitches, DWORD dwLimit = 30000) const
    {
        return CProgramRun(CommandLine(sSwitches)).Watch(dwLimit);
    }

    // Throw std::runtime_error where a line is not whole.
    std::vector<std::string> ResultLines() const { return ReadLines(ResultFile()); }
    std::vector<CLogLine> LogLines() const { return ReadLog(ResultFolder() + L"\\Kelvarin.log"); }
    // The messages that one function of the program recorded.
    std::vector<std::string> Messages(const std::string& sFunction) const;

private:
    CTestFolder m_Folder;
};
