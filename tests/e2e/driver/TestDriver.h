// The test's side of the driver: its service and its devices, and a program that sees the nodes of a fake PC.
#pragma once

#include "platform/Win32.h"

#include <winsvc.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "e2e/driver/Relay.h"
#include "platform/Handle.h"
#include "support/FakePcDevices.h"
#include "support/TestFolder.h"

// The service of the driver, and its devices; all is gone with the object, so that no other test sees them.
class CTestDriver
{
public:
    CTestDriver()
    {
        const CServiceHandle hManager(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
        // A root device names its service before that starts, or it would be without a driver.
        AddRoot();
        m_hService.Attach(::CreateServiceW(hManager.Get(), L"KelvarinTest", L"KelvarinTest", SERVICE_ALL_ACCESS,
                                           SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                                           L"\\??\\" TEST_DRIVER, nullptr, nullptr, nullptr, nullptr, nullptr));
        if (!::StartServiceW(m_hService.Get(), 0, nullptr))
            throw std::runtime_error("the driver does not start: " + std::to_string(::GetLastError()));
        m_hControl.Attach(::CreateFileW(L"\\\\.\\KelvarinTest", 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                        OPEN_EXISTING, 0, nullptr));
    }
    ~CTestDriver()
    {
        m_hControl.Close();
        // The root device first: a driver that has one is not stopped.
        for (const std::wstring& rId : m_Ids)
            WithDevice(rId, [](HDEVINFO hSet, SP_DEVINFO_DATA& rData) { ::SetupDiRemoveDevice(hSet, &rData); });
        SERVICE_STATUS Status;
        ::ControlService(m_hService.Get(), SERVICE_CONTROL_STOP, &Status);
        ::DeleteService(m_hService.Get());
    }
    CTestDriver(const CTestDriver&) = delete;
    CTestDriver& operator=(const CTestDriver&) = delete;

    void Add(const CFakeNode& rNode, const GUID& rInterface, const wchar_t* pDosName)
    {
        const std::size_t nEnd = rNode.sId.rfind(L'\\');
        RelayDevice device{};
        ::lstrcpynW(device.DeviceId, rNode.sId.substr(0, nEnd).c_str(), ARRAYSIZE(device.DeviceId));
        ::lstrcpynW(device.Instance, rNode.sId.substr(nEnd + 1).c_str(), ARRAYSIZE(device.Instance));
        ::lstrcpynW(device.DosName, pDosName, ARRAYSIZE(device.DosName));
        std::memcpy(device.Guid, &rInterface, sizeof rInterface);
        WaitFor("the bus", [&] { return Control(RELAY_ADD, device); });
        m_Ids.push_back(rNode.sId);
    }
    // Gives a device that has appeared its texts.
    void Describe(const CFakeNode& rNode)
    {
        WaitFor("a device", [&] {
            return WithDevice(rNode.sId, [&](HDEVINFO hSet, SP_DEVINFO_DATA& rData) {
                for (const auto& [ulNumber, rProperty] : rNode.Properties)
                    ::SetupDiSetDeviceRegistryPropertyW(hSet, &rData, ulNumber - 1,
                                                        reinterpret_cast<const BYTE*>(rProperty.sBytes.data()),
                                                        rProperty.sBytes.size());
            });
        });
    }
    bool Take(RelayRequest& rRequest)
    {
        DWORD dwReturned = 0;
        ::DeviceIoControl(m_hControl.Get(), RELAY_TAKE, nullptr, 0, &rRequest, sizeof rRequest, &dwReturned, nullptr);
        return dwReturned != 0;
    }
    template <typename Record>
    bool Control(DWORD dwCode, Record& rRecord)
    {
        DWORD dwReturned = 0;
        return ::DeviceIoControl(m_hControl.Get(), dwCode, &rRecord, sizeof rRecord, nullptr, 0, &dwReturned,
                                 nullptr) != FALSE;
    }

    template <typename Condition>
    static void WaitFor(const char* pWhat, const Condition& condition)
    {
        for (int n = 0; !condition(); ++n)
        {
            if (n == 500)
                throw std::runtime_error(std::string(pWhat) + " does not appear");
            ::Sleep(10);
        }
    }

private:
    template <typename Action>
    static bool WithDevice(const std::wstring& sId, const Action& action)
    {
        const HDEVINFO hSet = ::SetupDiCreateDeviceInfoList(nullptr, nullptr);
        SP_DEVINFO_DATA Data{};
        Data.cbSize = sizeof Data;
        const bool bFound = ::SetupDiOpenDeviceInfoW(hSet, sId.c_str(), nullptr, 0, &Data) != FALSE;
        if (bFound)
            action(hSet, Data);
        ::SetupDiDestroyDeviceInfoList(hSet);
        return bFound;
    }
    void AddRoot()
    {
        static constexpr GUID aSystem{ 0x4d36e97d, 0xe325, 0x11ce, { 0xbf, 0xc1, 0x08, 0x00, 0x2b, 0xe1, 0x03, 0x18 } };
        static constexpr wchar_t aRoot[] = L"ROOT\\KELVARINTEST\\0000", aHardware[] = L"ROOT\\KELVARINTEST\0",
                                 aService[] = L"KelvarinTest";
        const HDEVINFO hSet = ::SetupDiCreateDeviceInfoList(nullptr, nullptr);
        SP_DEVINFO_DATA Data{};
        Data.cbSize = sizeof Data;
        ::SetupDiCreateDeviceInfoW(hSet, aRoot, &aSystem, L"KelvarinTest", nullptr, 0, &Data);
        ::SetupDiSetDeviceRegistryPropertyW(hSet, &Data, SPDRP_HARDWAREID, reinterpret_cast<const BYTE*>(aHardware),
                                            sizeof aHardware);
        ::SetupDiSetDeviceRegistryPropertyW(hSet, &Data, SPDRP_SERVICE, reinterpret_cast<const BYTE*>(aService),
                                            sizeof aService);
        ::SetupDiCallClassInstaller(DIF_REGISTERDEVICE, hSet, &Data);
        ::SetupDiDestroyDeviceInfoList(hSet);
        m_Ids.push_back(aRoot);
    }

    CServiceHandle m_hService;
    CFileHandle m_hControl;
    std::vector<std::wstring> m_Ids;
};

// The program with the nodes of the described PC, which Wine's configuration manager cannot have.
class CProgramWithNodes
{
public:
    explicit CProgramWithNodes(std::wstring sCommandLine)
    {
        STARTUPINFOW Start{};
        Start.cb = sizeof Start;
        PROCESS_INFORMATION Process{};
        if (!::CreateProcessW(nullptr, sCommandLine.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr, nullptr,
                              &Start, &Process))
            throw std::runtime_error("cannot start " + Utf8(sCommandLine));
        m_hProcess.Attach(Process.hProcess);
        const CKernelHandle hThread(Process.hThread);
        static constexpr wchar_t aLibrary[] = TEST_NODES;
        void* const pRemote = ::VirtualAllocEx(Process.hProcess, nullptr, sizeof aLibrary, MEM_COMMIT, PAGE_READWRITE);
        ::WriteProcessMemory(Process.hProcess, pRemote, aLibrary, sizeof aLibrary, nullptr);
        auto* const pLoad = reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(::LoadLibraryW));
        const CKernelHandle hLoad(::CreateRemoteThread(Process.hProcess, nullptr, 0, pLoad, pRemote, 0, nullptr));
        DWORD dwModule = 0;
        if (::WaitForSingleObject(hLoad.Get(), 10000) != WAIT_OBJECT_0 ||
            !::GetExitCodeThread(hLoad.Get(), &dwModule) || dwModule == 0)
            throw std::runtime_error("the nodes are not loaded");
        ::ResumeThread(Process.hThread);
    }
    ~CProgramWithNodes()
    {
        ::TerminateProcess(m_hProcess.Get(), 1);
        ::WaitForSingleObject(m_hProcess.Get(), 5000);
    }
    CProgramWithNodes(const CProgramWithNodes&) = delete;
    CProgramWithNodes& operator=(const CProgramWithNodes&) = delete;

    bool IsRunning() const { return ::WaitForSingleObject(m_hProcess.Get(), 0) == WAIT_TIMEOUT; }
    DWORD ExitCode() const
    {
        DWORD dwExitCode = 0;
        ::GetExitCodeProcess(m_hProcess.Get(), &dwExitCode);
        return dwExitCode;
    }

private:
    CKernelHandle m_hProcess;
};
