#include "collect/NtServiceCollector.h"

#include "collect/CollectorFolders.h"
#include "collect/StepResult.h"
#include "platform/HResult.h"
#include "platform/Handle.h"
#include "platform/Path.h"
#include "platform/SizedRead.h"
#include "platform/Table.h"

namespace
{

constexpr UINT32 Range = 100;
constexpr const wchar_t* NoRow = L"unknown";

// Whole values: a combined type, such as a process with the interactive bit, is unknown.
constexpr CNameRow<DWORD> TypeTable[] = {
    { SERVICE_FILE_SYSTEM_DRIVER, L"SERVICE_FILE_SYSTEM_DRIVER" },
    { SERVICE_KERNEL_DRIVER, L"SERVICE_KERNEL_DRIVER" },
    { SERVICE_WIN32_OWN_PROCESS, L"SERVICE_WIN32_OWN_PROCESS" },
    { SERVICE_WIN32_SHARE_PROCESS, L"SERVICE_WIN32_SHARE_PROCESS" },
    { SERVICE_INTERACTIVE_PROCESS, L"SERVICE_INTERACTIVE_PROCESS" },
};
constexpr CNameRow<DWORD> StateTable[] = {
    { SERVICE_CONTINUE_PENDING, L"SERVICE_CONTINUE_PENDING" },
    { SERVICE_PAUSE_PENDING, L"SERVICE_PAUSE_PENDING" },
    { SERVICE_PAUSED, L"SERVICE_PAUSED" },
    { SERVICE_RUNNING, L"SERVICE_RUNNING" },
    { SERVICE_START_PENDING, L"SERVICE_START_PENDING" },
    { SERVICE_STOP_PENDING, L"SERVICE_STOP_PENDING" },
    { SERVICE_STOPPED, L"SERVICE_STOPPED" },
};
// clang-format off
constexpr CNameRow<DWORD> StartTable[] = {
    { SERVICE_AUTO_START, L"SERVICE_AUTO_START" },
    { SERVICE_BOOT_START, L"SERVICE_BOOT_START" },
    { SERVICE_DEMAND_START, L"SERVICE_DEMAND_START" },
    { SERVICE_DISABLED, L"SERVICE_DISABLED" },
    { SERVICE_SYSTEM_START, L"SERVICE_SYSTEM_START" },
};
// clang-format on

} // namespace

CNtServiceCollector::CNtServiceCollector() : m_Progress(L"CNtServiceCollector", Range, L"collect NT service info...") {}

HRESULT CNtServiceCollector::Collect(const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        CreateOutputFolder(log, sOutDirPath);
        log.Check(m_ResultLog.Open(JoinPath(sOutDirPath, L"NtService.txt"), true),
                  L"m_ResultLog.Open() failed. [0x%08X]");
        CServiceHandle hManager(::OpenSCManagerW(nullptr, nullptr, GENERIC_READ));
        if (!hManager)
            ThrowWin32(log, ::GetLastError(), L"::OpenSCManager() failed. [%d]");
        OutputServices(log, hManager.Get());
        hManager.Close();
        m_Progress.Update(Range, L"Collecting NT Service Info...End");
    });
}

void CNtServiceCollector::OutputServices(const CFunctionLog& log, SC_HANDLE hManager)
{
    DWORD dwCount = 0;
    // The whole list each time: a call without enough room leaves the place where it stopped behind.
    const auto Enumerate = [&](BYTE* pBuffer, DWORD& rdwSize) {
        DWORD dwResume = 0;
        return StatusOf(::EnumServicesStatusW(hManager, SERVICE_WIN32, SERVICE_STATE_ALL,
                                              reinterpret_cast<ENUM_SERVICE_STATUSW*>(pBuffer), rdwSize, &rdwSize,
                                              &dwCount, &dwResume));
    };
    CSizedRead services(ERROR_MORE_DATA);
    const DWORD dwAsked = services.AskSize(Enumerate);
    // Only an empty list fits into nothing.
    if (dwAsked == ERROR_SUCCESS)
        return;
    if (dwAsked != ERROR_MORE_DATA)
        ThrowWin32(log, dwAsked, L"EnumServicesStatus() failed.[%d]");
    if (!services.Allocate())
        log.Throw(E_OUTOFMEMORY, L"pServices.Allocate( %d ) failed.", services.Size());
    const DWORD dwRead = services.Read(Enumerate);
    if (dwRead != ERROR_SUCCESS)
        ThrowWin32(log, dwRead, L"EnumServicesStatus() failed.[%d]");

    const auto Services = services.Rows<ENUM_SERVICE_STATUSW>(0, dwCount);
    for (std::size_t n = 0; n < Services.size(); ++n)
    {
        m_Progress.Update(static_cast<UINT32>(n * Range / Services.size()), L"Collecting NT Service Info...");
        OutputService(log, hManager, Services[n]);
    }
}

// A service that may not be read ends the list, after its state.
void CNtServiceCollector::OutputService(const CFunctionLog& log, SC_HANDLE hManager,
                                        const ENUM_SERVICE_STATUSW& rService)
{
    m_ResultLog.WriteLine(L"");
    m_ResultLog.WriteLine(L"Name         : \"%ls\" (\"%ls\")", rService.lpDisplayName, rService.lpServiceName);
    m_ResultLog.WriteLine(L"Type         : %s", NameOf(TypeTable, rService.ServiceStatus.dwServiceType, NoRow));
    m_ResultLog.WriteLine(L"CurrentState : %s", NameOf(StateTable, rService.ServiceStatus.dwCurrentState, NoRow));
    const CServiceHandle hService(::OpenServiceW(hManager, rService.lpServiceName, GENERIC_READ));
    if (!hService)
        ThrowWin32(log, ::GetLastError(), L"OpenService( \"%ls\" ) failed.[%d]", rService.lpServiceName);
    OutputConfig(log, hService.Get());
}

void CNtServiceCollector::OutputConfig(const CFunctionLog& log, SC_HANDLE hService)
{
    const auto Query = [&](BYTE* pBuffer, DWORD& rdwSize) {
        return StatusOf(
            ::QueryServiceConfigW(hService, reinterpret_cast<QUERY_SERVICE_CONFIGW*>(pBuffer), rdwSize, &rdwSize));
    };
    CSizedRead config(ERROR_INSUFFICIENT_BUFFER);
    DWORD dwStatus = config.AskSize(Query);
    if (dwStatus != ERROR_INSUFFICIENT_BUFFER)
        ThrowWin32(log, dwStatus, L"QueryServiceConfig() failed.[%d]");
    if (!config.Allocate())
        log.Throw(E_OUTOFMEMORY, L"pServiceConfig.Allocate( %d ) failed.", config.Size());
    dwStatus = config.Read(Query);
    const auto* const pConfig = config.As<QUERY_SERVICE_CONFIGW>();
    if (dwStatus != ERROR_SUCCESS || pConfig == nullptr)
        ThrowWin32(log, dwStatus, L"QueryServiceConfig() failed.[%d]");
    m_ResultLog.WriteLine(L"StartType    : %s", NameOf(StartTable, pConfig->dwStartType, NoRow));
    m_ResultLog.WriteLine(L"Path         : \"%s\"", pConfig->lpBinaryPathName);
}
