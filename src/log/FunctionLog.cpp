#include "log/FunctionLog.h"

#include <atomic>

#include "log/LogSystem.h"
#include "log/OpLogUtil.h"
#include "platform/HResult.h"
#include "platform/Text.h"

using namespace opLogSys;

namespace
{

constexpr std::size_t MaxMessage = 2048;

// "CThing::Read" belongs to the subject "CThing", "CThing::CPart::Read" to "CPart".
std::wstring SubjectOf(std::string_view sFunction)
{
    const auto nEnd = sFunction.rfind("::");
    if (nEnd == sFunction.npos)
        return WidenBytes(sFunction);
    const std::string_view sClass = sFunction.substr(0, nEnd);
    const auto nStart = sClass.rfind("::");
    return WidenBytes(nStart == sClass.npos ? sClass : sClass.substr(nStart + 2));
}

// A message within a scope, cut at the length of all log texts.
std::wstring BarBefore(const wchar_t* pMessage)
{
    wchar_t aLine[MaxMessage];
    FormatInto(aLine, L"│ %s", pMessage);
    return aLine;
}

// Each line is a group, alone or inside an open one; a file with autoflush flushes when the outermost ends.
void WriteTrace(ILog& rLog, const std::wstring& sLine)
{
    const Common::CGroupScope group(rLog);
    rLog.WriteNow(sLine.c_str());
}

} // namespace

void opLogSys::WriteRecord(const CRecord& rRecord, const wchar_t* pFormat, ...)
{
    const CLastErrorKeeper keeper;
    CLogSystem* const pLogSystem = COpLogUtil::GetLogSystem();
    if (pFormat == nullptr || pLogSystem == nullptr)
        return;
    wchar_t aMessage[MaxMessage];
    std::va_list args;
    va_start(args, pFormat);
    FormatTo(aMessage, pFormat, args);
    va_end(args);
    Quietly([&] {
        wchar_t aLine[MaxMessage];
        FormatInto(aLine, L"%05d:[%s] %s", rRecord.nLine, WidenBytes(rRecord.sFunction), aMessage);
        pLogSystem->WriteErrorLog(aLine);
        WriteTrace(*pLogSystem->GetThreadLog().Get(), BarBefore(aMessage));
    });
}

opLogSys::Common::CGroupScope CFunctionLog::TraceGroup() const
{
    return Common::CGroupScope(*m_pTrace);
}

bool CFunctionLog::IsTraceOn()
{
    // -1: not yet computed. Whoever comes first computes it; all come to the same answer.
    static std::atomic<int> s_nOn{ -1 };
    int nOn = s_nOn.load(std::memory_order_relaxed);
    if (nOn < 0)
    {
        const CLastErrorKeeper keeper;
        CLogSystem* const pLogSystem = COpLogUtil::GetLogSystem();
        nOn = pLogSystem != nullptr && pLogSystem->GetFilter().HasEntries() == S_OK ? 1 : 0;
        s_nOn.store(nOn, std::memory_order_relaxed);
    }
    return nOn != 0;
}

bool CFunctionLog::IsTarget(const wchar_t* pSubject, LONG nLevel)
{
    if (!IsTraceOn())
        return false;
    CLogSystem* const pLogSystem = COpLogUtil::GetLogSystem();
    return pLogSystem != nullptr && pLogSystem->GetFilter().IsTarget(pSubject, nLevel) == S_OK;
}

void CFunctionLog::Enter()
{
    const CLastErrorKeeper keeper;
    CLogSystem* const pLogSystem = COpLogUtil::GetLogSystem();
    if (pLogSystem == nullptr)
        return;
    Quietly([&] {
        if (pLogSystem->GetFilter().IsTarget(SubjectOf(m_sFunction), Level) != S_OK)
            return;
        const Common::CReference<ILog> pLog = pLogSystem->GetThreadLog();
        const std::wstring sLine = FormatText(L"┌ %s()", WidenBytes(m_sFunction));
        pLog->AddRef();
        m_pTrace = pLog.Get();
        m_pTrace->Enter();
        WriteTrace(*m_pTrace, sLine);
    });
}

void CFunctionLog::Leave()
{
    const CLastErrorKeeper keeper;
    Quietly([&] {
        const std::wstring sFunction = WidenBytes(m_sFunction);
        WriteTrace(*m_pTrace, m_bHasResult ? FormatText(L"└ %s() : return 0x%08X [%d]", sFunction, m_hr, m_hr)
                                           : FormatText(L"└ %s()", sFunction));
    });
    m_pTrace->Leave();
    m_pTrace->Release();
}

void CFunctionLog::TraceLine(const wchar_t* pFormat, ...) const
{
    const CLastErrorKeeper keeper;
    wchar_t aMessage[MaxMessage];
    std::va_list args;
    va_start(args, pFormat);
    FormatTo(aMessage, pFormat, args);
    va_end(args);
    Quietly([&] { WriteTrace(*m_pTrace, BarBefore(aMessage)); });
}
