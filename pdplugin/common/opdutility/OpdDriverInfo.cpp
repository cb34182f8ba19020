#include "opdutility/OpdDriverInfo.h"

#include <psapi.h>

#include "log/FunctionLog.h"
#include "platform/Allocation.h"
#include "platform/HResult.h"

namespace
{

constexpr DWORD NameCapacity = 2048;

std::vector<void*> LoadAddresses(const CFunctionLog& log)
{
    DWORD dwBytes = 0;
    ::EnumDeviceDrivers(nullptr, 0, &dwBytes);
    if (dwBytes == 0)
        log.Throw(E_FAIL, L"::EnumDeviceDrivers( NULL ) failed. [0x%08X]", LastErrorResult());
    std::vector<void*> Addresses;
    if (!TryResize(Addresses, dwBytes / sizeof(void*)))
        log.Throw(E_OUTOFMEMORY, L"new UINT8[ %d ] failed.", dwBytes);
    const DWORD dwCapacity = dwBytes;
    if (!::EnumDeviceDrivers(Addresses.data(), dwCapacity, &dwBytes))
        log.Throw(E_FAIL, L"::EnumDeviceDrivers( %d ) failed. [0x%08X]", dwCapacity, LastErrorResult());
    // Drivers that were unloaded between the two calls leave the end of the list unwritten.
    if (dwBytes < dwCapacity)
        Addresses.resize(dwBytes / sizeof(void*));
    return Addresses;
}

} // namespace

HRESULT COpdDriverInfo::GetLoadedDeviceDrivers(std::vector<CDriver>& rList)
{
    CFunctionLog log;
    return log.Run([&] {
        const std::vector<void*> Addresses = LoadAddresses(log);
        const std::size_t nCount = Addresses.size();
        std::wstring sBuffer(NameCapacity, L'\0');
        for (std::size_t n = 0; n < nCount; ++n)
        {
            CDriver driver;
            DWORD nLength = ::GetDeviceDriverFileNameW(Addresses[n], sBuffer.data(), NameCapacity);
            if (nLength == 0)
            {
                log.Assert(L"::GetDeviceDriverFileName( %d / %d ) failed. [0x%08X]", n, nCount, LastErrorResult());
                continue;
            }
            driver.sFileName.assign(sBuffer, 0, nLength);
            nLength = ::GetDeviceDriverBaseNameW(Addresses[n], sBuffer.data(), NameCapacity);
            if (nLength == 0)
            {
                log.Assert(L"::GetDeviceDriverBaseName( %d / %d ) failed. [0x%08X]", n, nCount, LastErrorResult());
                continue;
            }
            driver.sBaseName.assign(sBuffer, 0, nLength);
            rList.push_back(std::move(driver));
        }
    });
}
