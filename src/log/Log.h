// The two writers of log lines: CLog for one thread's trace, CErrorLog for the shared error log.
#pragma once

#include "log/LogInterfaces.h"

namespace opLogSys
{

class CLog final : public Common::CReferenceCounted<ILog>
{
public:
    CLog(DWORD dwThreadId, ILogIO* pOutput) : m_pOutput(pOutput), m_dwThreadId(dwThreadId) {}

    LONG Enter() override { return ++m_nDepth; }
    LONG Leave() override;
    void WriteAt(const SYSTEMTIME& rTime, const wchar_t* pText) override;
    void WriteNow(const wchar_t* pText) override;
    LONG BeginGroup() override;
    LONG EndGroup() override;
    DWORD GetThreadId() override { return m_dwThreadId; }

private:
    Common::CReference<ILogIO> m_pOutput;
    LONG m_nDepth = 0;
    LONG m_nGroups = 0;
    DWORD m_dwThreadId;
};

// Several processes and threads write one error log: there is no depth, and each line stands for itself.
class CErrorLog final : public Common::CReferenceCounted<ILog>
{
public:
    explicit CErrorLog(ILogIO* pOutput) : m_pOutput(pOutput) {}

    LONG Enter() override { return 1; }
    LONG Leave() override { return 1; }
    void WriteAt(const SYSTEMTIME& rTime, const wchar_t* pText) override;
    void WriteNow(const wchar_t* pText) override;
    LONG BeginGroup() override { return 1; }
    LONG EndGroup() override { return 1; }
    DWORD GetThreadId() override { return 0; }

private:
    Common::CReference<ILogIO> m_pOutput;
};

} // namespace opLogSys
