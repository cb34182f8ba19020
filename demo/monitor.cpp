// The sample product's service. It only runs until it is told to stop, and keeps a log of both.
#include <shlobj.h>
#include <windows.h>

#include <cstdio>
#include <string>

namespace
{

wchar_t g_sServiceName[] = L"VlmMonitor";
SERVICE_STATUS_HANDLE g_hStatus;
HANDLE g_hStop;

void WriteLog(const wchar_t* sText)
{
    wchar_t sData[MAX_PATH];
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT, sData)))
        return;
    const std::wstring sFolder = std::wstring(sData) + L"\\Tolvane Corporation\\Velmora";
    SHCreateDirectoryExW(nullptr, sFolder.c_str(), nullptr);
    if (FILE* const pFile = _wfopen((sFolder + L"\\monitor.log").c_str(), L"a"))
    {
        SYSTEMTIME now;
        GetLocalTime(&now);
        std::fwprintf(pFile, L"%04u-%02u-%02u %02u:%02u:%02u %ls\n", now.wYear, now.wMonth, now.wDay, now.wHour,
                      now.wMinute, now.wSecond, sText);
        std::fclose(pFile);
    }
}

void ReportState(DWORD dwState, DWORD dwError = NO_ERROR)
{
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = dwState;
    status.dwControlsAccepted = dwState == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN : 0;
    status.dwWin32ExitCode = dwError;
    SetServiceStatus(g_hStatus, &status);
}

DWORD WINAPI Control(DWORD dwControl, DWORD, void*, void*)
{
    switch (dwControl)
    {
    case SERVICE_CONTROL_STOP:
    case SERVICE_CONTROL_SHUTDOWN:
        ReportState(SERVICE_STOP_PENDING);
        SetEvent(g_hStop);
        return NO_ERROR;
    case SERVICE_CONTROL_INTERROGATE:
        return NO_ERROR;
    default:
        return ERROR_CALL_NOT_IMPLEMENTED;
    }
}

void WINAPI ServiceMain(DWORD, wchar_t**)
{
    g_hStatus = RegisterServiceCtrlHandlerExW(g_sServiceName, Control, nullptr);
    if (!g_hStatus)
        return;
    g_hStop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (!g_hStop)
    {
        ReportState(SERVICE_STOPPED, GetLastError());
        return;
    }
    ReportState(SERVICE_RUNNING);
    WriteLog(L"started");
    WaitForSingleObject(g_hStop, INFINITE);
    WriteLog(L"stopped");
    ReportState(SERVICE_STOPPED);
}

} // namespace

int wmain()
{
    const SERVICE_TABLE_ENTRYW services[] = { { g_sServiceName, ServiceMain }, { nullptr, nullptr } };
    return StartServiceCtrlDispatcherW(services) ? 0 : static_cast<int>(GetLastError());
}
