// The log system object: one trace per thread, one error log per process, both made on first use.
#pragma once

#include <map>
#include <string>

#include "log/LogInterfaces.h"
#include "platform/Handle.h"

namespace opLogSys
{

// What the configuration decides about the log system.
struct CLogSystemSettings
{
    std::wstring sName;         // subject of the trace
    std::wstring sErrorLogPath; // empty: no error log
    std::wstring sTitle;        // stands in the banner when not empty
    DWORD dwErrorLogLimit = 0;  // bytes
    bool bTrim = false;         // cut the oldest lines instead of keeping a ".bak"
    Encoding eEncoding = Encoding::Ansi;
};

class CLogSystem
{
public:
    CLogSystem(CLogSystemSettings settings, ILogSysInfo& rInfo);

    ILogFilter& GetFilter() const { return *m_pFilter.Get(); }

    // The calling thread's trace writer.
    Common::CReference<ILog> GetThreadLog();

    // One line of the error log, below the banner that this process writes once.
    void WriteErrorLog(const wchar_t* pText);

private:
    struct CSubject
    {
        Common::CReference<ILogIO> pOutput;
        std::map<DWORD, Common::CReference<ILog>> Logs;
    };

    void MakeErrorLog();
    void WriteBanner(ILog& rErrorLog);
    bool IntroduceProcess();

    Common::CCriticalSection m_Lock;
    std::map<std::wstring, CSubject> m_Subjects;
    CLogSystemSettings m_Settings;
    // Held to the end of the process: its name marks this process and this log as introduced.
    CKernelHandle m_hOnceMutex;
    bool m_bIntroduced = false;
    Common::CReference<IOutputLogSystemFactory> m_pFactory;
    Common::CReference<ILogFilter> m_pFilter;
    Common::CReference<ILog> m_pErrorLog;
};

} // namespace opLogSys
