#include "log/LogSystem.h"

#include <algorithm>

#include "log/OutputErrorLogIO.h"
#include "platform/Format.h"
#include "platform/LocalTime.h"
#include "platform/Path.h"

namespace opLogSys
{
namespace
{

SYSTEMTIME ProcessCreationTime()
{
    FILETIME Creation{}, Exit{}, Kernel{}, User{};
    ::GetProcessTimes(::GetCurrentProcess(), &Creation, &Exit, &Kernel, &User);
    return LocalTimeOf(Creation).value_or(SYSTEMTIME{});
}

} // namespace

CLogSystem::CLogSystem(CLogSystemSettings settings, ILogSysInfo& rInfo)
    : m_Settings(std::move(settings)),
      m_pFactory(Common::CReference<IOutputLogSystemFactory>::Own(rInfo.GetFactory())),
      m_pFilter(Common::CReference<ILogFilter>::Own(rInfo.GetFilter()))
{
}

Common::CReference<ILog> CLogSystem::GetThreadLog()
{
    const CLockScope lock(m_Lock);
    CSubject& rSubject = m_Subjects[m_Settings.sName];
    if (!rSubject.pOutput)
        rSubject.pOutput = Common::CReference<ILogIO>::Own(
            m_pFactory->CreateOutput(m_Settings.sName, m_Settings.eEncoding));

    const DWORD dwThreadId = ::GetCurrentThreadId();
    Common::CReference<ILog>& rLog = rSubject.Logs[dwThreadId];
    if (!rLog)
        rLog = Common::CReference<ILog>::Own(m_pFactory->CreateLog(dwThreadId, rSubject.pOutput.Get()));
    return rLog;
}

void CLogSystem::WriteErrorLog(const wchar_t* pText)
{
    const CLockScope lock(m_Lock);
    MakeErrorLog();
    const Common::CReference<ILog> pErrorLog = m_pErrorLog;
    if (!pErrorLog)
        return;
    if (!m_bIntroduced)
    {
        m_bIntroduced = true;
        const Common::CGroupScope group(*pErrorLog.Get());
        if (IntroduceProcess())
            WriteBanner(*pErrorLog.Get());
    }
    pErrorLog->WriteNow(pText);
}

void CLogSystem::MakeErrorLog()
{
    if (m_pErrorLog || m_Settings.sErrorLogPath.empty())
        return;
    const auto pOutput = Common::CReference<ILogIO>::Own(new COutputErrorLogIO(
        m_Settings.sErrorLogPath, m_Settings.dwErrorLogLimit, m_Settings.bTrim, m_Settings.eEncoding));
    m_pErrorLog = Common::CReference<ILog>::Own(m_pFactory->CreateErrorLog(pOutput.Get()));
}

// True when this process has not yet introduced itself in this log. An over-long name gives no mutex at all; the flag
// beside it still keeps the banner from being written twice.
bool CLogSystem::IntroduceProcess()
{
    std::wstring sName = FormatText(L"OPLOGSYS_ERRORLOG:%08X:%s", ::GetCurrentProcessId(), m_Settings.sErrorLogPath);
    std::ranges::replace_if(sName, [](wchar_t c) { return c == L'\\' || c == L':' || c == L'.'; }, L'_');
    m_hOnceMutex.Attach(::CreateMutexW(nullptr, FALSE, sName.c_str()));
    return ::GetLastError() != ERROR_ALREADY_EXISTS;
}

void CLogSystem::WriteBanner(ILog& rErrorLog)
{
    const SYSTEMTIME Time = ProcessCreationTime();
    const std::wstring sDashes(79, L'-');
    const std::wstring sPath = ModulePath();
    rErrorLog.WriteAt(Time, sDashes.c_str());
    rErrorLog.WriteAt(Time, m_Settings.sTitle.empty() ? sPath.c_str()
                                                      : FormatText(L"[%s] %s", m_Settings.sTitle, sPath).c_str());
    rErrorLog.WriteAt(Time, sDashes.c_str());
}

} // namespace opLogSys
