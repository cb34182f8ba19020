#include "collect/BackupPrivilege.h"

#include <memory>
#include <new>

#include "platform/HResult.h"
#include "platform/Handle.h"

void EnableBackupPrivilege(const CFunctionLog& log)
{
    CKernelHandle hToken;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, hToken.Put()))
        log.Throw(E_FAIL, L"::OpenProcessToken( ::GetCurrentProcess() ) failed. [0x%08X]", LastErrorResult());
    LUID Id{};
    if (!::LookupPrivilegeValueW(nullptr, SE_BACKUP_NAME, &Id))
        log.Throw(E_FAIL, L"::LookupPrivilegeValue( SE_BACKUP_NAME ) failed. [0x%08X]", LastErrorResult());
    const std::unique_ptr<TOKEN_PRIVILEGES> pPrivileges(new (std::nothrow)
                                                            TOKEN_PRIVILEGES{ 1, { { Id, SE_PRIVILEGE_ENABLED } } });
    if (!pPrivileges)
        log.Throw(E_OUTOFMEMORY, L"ATL::CHeapPtr<TOKEN_PRIVILEGES>::AllocateBytes() failed.");
    if (!::AdjustTokenPrivileges(hToken.Get(), FALSE, pPrivileges.get(), sizeof *pPrivileges, nullptr, nullptr))
        log.Throw(E_FAIL, L"::AdjustTokenPrivileges() failed. [0x%08X]", LastErrorResult());
}
