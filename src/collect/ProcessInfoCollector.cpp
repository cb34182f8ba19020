#include "collect/ProcessInfoCollector.h"

#include "collect/CollectorFolders.h"
#include "opdutility/ModuleSnapshot.h"
#include "platform/HResult.h"
#include "platform/Handle.h"
#include "platform/Path.h"

namespace
{

// The privilege for as long as the object lives. Where the account does not have it, the walk sees less.
class CDebugPrivilege
{
public:
    CDebugPrivilege() : m_hr(CProcessInfoCollector::EnableDebugPrivilege(true)) {}
    ~CDebugPrivilege()
    {
        if (SUCCEEDED(m_hr))
            CProcessInfoCollector::EnableDebugPrivilege(false);
    }
    CDebugPrivilege(const CDebugPrivilege&) = delete;
    CDebugPrivilege& operator=(const CDebugPrivilege&) = delete;

private:
    HRESULT m_hr;
};

} // namespace

HRESULT CProcessInfoCollector::Collect(const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        const CDebugPrivilege privilege;
        CreateOutputFolder(log, sOutDirPath);
        m_ResultLog.OpenOrThrow(log, JoinPath(sOutDirPath, L"RunningProcesses.txt"), true);
        m_DetailLog.OpenOrThrow(log, JoinPath(sOutDirPath, L"RunningProcessesDetail.txt"), true);
        OutputProcesses(log);
    });
}

void CProcessInfoCollector::OutputProcesses(const CFunctionLog& log)
{
    const CFileHandle hSnapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    if (!hSnapshot)
    {
        const HRESULT hr = LastErrorResult();
        m_DetailLog.WriteLine(L"::CreateToolhelp32Snapshot( TH32CS_SNAPPROCESS ) failed. [0x%08X]", hr);
        log.Throw(hr);
    }
    PROCESSENTRY32W Process{};
    Process.dwSize = sizeof Process;
    if (!::Process32FirstW(hSnapshot.Get(), &Process))
        log.ThrowCode(LastErrorResult(), L"::Process32First() failed.[0x%08X]");
    do
        OutputProcess(Process);
    while (::Process32NextW(hSnapshot.Get(), &Process));
}

void CProcessInfoCollector::OutputProcess(const PROCESSENTRY32W& rProcess)
{
    const std::wstring sTitle = FormatText(L"[%s]", rProcess.szExeFile);
    for (CResultLog* const pReport : { &m_ResultLog, &m_DetailLog })
    {
        pReport->WriteLine(L"");
        pReport->WriteSectionHead(sTitle);
    }
    m_DetailLog.WriteLine(L"Process ID           : 0x%08X", rProcess.th32ProcessID);
    m_DetailLog.WriteLine(L"Process ID of Parent : 0x%08X", rProcess.th32ParentProcessID);
    m_DetailLog.WriteLine(L"Number of Threads    : %d", rProcess.cntThreads);
    m_DetailLog.WriteLine(L"Base Priority        : %d", rProcess.pcPriClassBase);
    OutputModules(rProcess.th32ProcessID);
}

// For process 0 the platform takes the calling process: its block lists our own modules, as it always has. A process
// that may not be looked into, or has ended since, has the failure in place of its modules.
void CProcessInfoCollector::OutputModules(DWORD dwProcessId)
{
    const CFileHandle hSnapshot = ModuleSnapshot(dwProcessId);
    if (!hSnapshot)
    {
        m_DetailLog.WriteLine(L"::CreateToolhelp32Snapshot( TH32CS_SNAPMODULE, 0x%08X ) failed. [0x%08X]", dwProcessId,
                              LastErrorResult());
        return;
    }
    MODULEENTRY32W Module{};
    Module.dwSize = sizeof Module;
    if (!::Module32FirstW(hSnapshot.Get(), &Module))
    {
        m_DetailLog.WriteLine(L"::Module32First( 0x%08X ) failed. [0x%08X]", dwProcessId, LastErrorResult());
        return;
    }
    do
        OutputModule(Module);
    while (::Module32NextW(hSnapshot.Get(), &Module));
}

void CProcessInfoCollector::OutputModule(const MODULEENTRY32W& rModule)
{
    m_ResultLog.WriteLine(L"%s\t%s\t%d", rModule.szModule, rModule.szExePath, rModule.modBaseSize);
    m_DetailLog.WriteLine(L"");
    m_DetailLog.WriteLine(L"  Module Name         : \"%s\"", rModule.szModule);
    m_DetailLog.WriteLine(L"  Module Path         : \"%s\"", rModule.szExePath);
    m_DetailLog.WriteLine(L"  Module Size         : %d", rModule.modBaseSize);
    m_DetailLog.WriteLine(L"  Base Address        : 0x%08X", reinterpret_cast<DWORD_PTR>(rModule.modBaseAddr));
    m_DetailLog.WriteLine(L"  Module ID           : 0x%08X", rModule.th32ModuleID);
    m_DetailLog.WriteLine(L"  Process ID          : 0x%08X", rModule.th32ProcessID);
}

HRESULT CProcessInfoCollector::EnableDebugPrivilege(bool bEnable)
{
    CFunctionLog log;
    return log.Run([&] {
        CKernelHandle hToken;
        if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, hToken.Put()))
            log.ThrowCode(LastErrorResult(), L"OpenProcessToken( TOKEN_ADJUST_PRIVILEGES ) failed.[0x%08X]");
        TOKEN_PRIVILEGES Privileges{};
        Privileges.PrivilegeCount = 1;
        Privileges.Privileges[0].Attributes = bEnable ? SE_PRIVILEGE_ENABLED : 0;
        if (!::LookupPrivilegeValueW(nullptr, SE_DEBUG_NAME, &Privileges.Privileges[0].Luid))
            log.ThrowCode(LastErrorResult(), L"LookupPrivilegeValue( SE_DEBUG_NAME ) failed.[0x%08X]");
        // An account that lacks the privilege is no failure of this call.
        if (!::AdjustTokenPrivileges(hToken.Get(), FALSE, &Privileges, 0, nullptr, nullptr))
            log.ThrowCode(LastErrorResult(), L"AdjustTokenPrivileges() failed.[0x%08X]");
    });
}
