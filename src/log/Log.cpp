#include "log/Log.h"

#include <algorithm>
#include <string>

#include "platform/Format.h"
#include "platform/LocalTime.h"

namespace opLogSys
{
namespace
{

constexpr LONG MaxBars = 63;
constexpr std::size_t MaxPrefix = 255;

} // namespace

LONG CLog::Leave()
{
    m_nDepth = std::max(m_nDepth - 1, 0L);
    return m_nDepth;
}

void CLog::WriteAt(const SYSTEMTIME& rTime, const wchar_t* pText)
{
    std::wstring sPrefix = FormatText(L"[%08X][%04d/%02d/%02d(%02d:%02d:%02d.%03d)]", m_dwThreadId, rTime.wYear,
                                      rTime.wMonth, rTime.wDay, rTime.wHour, rTime.wMinute, rTime.wSecond,
                                      rTime.wMilliseconds);
    // An outermost scope has depth 1 and shows no bar.
    sPrefix.append(static_cast<std::size_t>(std::clamp(m_nDepth - 1, 0L, MaxBars)), L'│');
    sPrefix.resize(std::min(sPrefix.size(), MaxPrefix));

    const Common::COutputScope output(*m_pOutput.Get());
    m_pOutput->WriteText(sPrefix.c_str());
    m_pOutput->WriteText(pText);
    m_pOutput->WriteText(L"\r\n");
}

void CLog::WriteNow(const wchar_t* pText)
{
    WriteAt(LocalNow(), pText);
}

LONG CLog::BeginGroup()
{
    m_pOutput->Open();
    return ++m_nGroups;
}

LONG CLog::EndGroup()
{
    --m_nGroups;
    if (m_nGroups < 1)
        m_pOutput->Flush();
    m_pOutput->Close();
    return m_nGroups;
}

void CErrorLog::WriteAt(const SYSTEMTIME& rTime, const wchar_t* pText)
{
    wchar_t aPrefix[64];
    FormatInto(aPrefix, L"[%04d/%02d/%02d %02d:%02d:%02d][%X] ", rTime.wYear, rTime.wMonth, rTime.wDay, rTime.wHour,
               rTime.wMinute, rTime.wSecond, ::GetCurrentProcessId());

    // One opening around the three parts keeps the line whole among many processes, and opens the file once.
    const Common::COutputScope output(*m_pOutput.Get());
    m_pOutput->WriteText(aPrefix);
    m_pOutput->WriteText(pText);
    m_pOutput->WriteText(L"\r\n");
}

void CErrorLog::WriteNow(const wchar_t* pText)
{
    WriteAt(LocalNow(), pText);
}

} // namespace opLogSys
