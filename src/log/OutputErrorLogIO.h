// The error log's file: written by all processes of a run at once, bounded in size.
#pragma once

#include <string>

#include "log/LogInterfaces.h"
#include "platform/Handle.h"
#include "platform/Security.h"

namespace opLogSys
{

namespace Common
{

// A named mutex that anybody on the PC may use, since the processes of the tool can run under different accounts. The
// count belongs to the object: two threads of one process share the ownership, and what keeps them apart is the
// critical section that they take first.
class CMutex final : public CReferenceCounted<IReference>, public ILockObject
{
public:
    explicit CMutex(const std::wstring& sName);
    void Lock() override;
    void Unlock() override;

private:
    std::wstring m_sName;
    CKernelHandle m_hMutex;
    LONG m_nUsers = 0;
};

} // namespace Common

class COutputErrorLogIO final : public Common::CReferenceCounted<ILogIO>
{
public:
    // dwLimit in bytes. bTrim: a file above the limit loses its oldest lines; otherwise it becomes the ".bak" file.
    COutputErrorLogIO(const std::wstring& sPath, DWORD dwLimit, bool bTrim, Encoding eEncoding);

    // From Open to the matching Close the calling thread holds the critical section and the mutex; the file stays
    // open in between.
    LONG Open() override;
    LONG Close() override;
    void WriteLine(const wchar_t* pText) override;
    void WriteText(const wchar_t* pText) override;
    void Flush() override {}

private:
    void OpenFile();
    void CloseFile();
    void Trim(LONGLONG nSize);
    void KeepAsBackup() const;

    std::wstring m_sPath;
    Common::CCriticalSection m_Lock;
    Common::CReference<Common::CMutex> m_pMutex;
    CSupportUsersDescriptor m_Security;
    CFileHandle m_hFile;
    LONG m_nOpen = 0;
    DWORD m_dwLimit;
    bool m_bTrim;
    Encoding m_eEncoding;
};

} // namespace opLogSys
