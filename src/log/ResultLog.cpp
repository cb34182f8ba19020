#include "log/ResultLog.h"

#include "platform/LocalTime.h"
#include "platform/VersionResource.h"

namespace
{

constexpr CLineWriterNames Names{ "CResultLog::Write", "CResultLog::WriteLine", L"m_File" };

// The width of the line above each section's head.
constexpr const wchar_t* Underscores = L"________________________________________________";

std::wstring ProgramVersion()
{
    wchar_t aPath[MAX_PATH] = L"";
    CVersionResource version;
    if (::GetModuleFileNameW(nullptr, aPath, MAX_PATH) == 0 || FAILED(version.Load(aPath)))
        return {};
    return version.FileVersionText();
}

} // namespace

CResultLog::CResultLog() : CLineWriter(Names) {}

HRESULT CResultLog::Open(const std::wstring& sPath, bool bWriteHeader)
{
    CFunctionLog log;
    return log.Run([&] {
        OpenFile(log, sPath);
        if (bWriteHeader)
            WriteHeader();
    });
}

void CResultLog::WriteHeader()
{
    const SYSTEMTIME Now = LocalNow();
    WriteLine(L"%s", Underscores);
    WriteLine(L"[%04u/%02u/%02u %02u:%02u:%02u] Version %s", Now.wYear, Now.wMonth, Now.wDay, Now.wHour, Now.wMinute,
              Now.wSecond, ProgramVersion());
}

void CResultLog::WriteSectionHead(const std::wstring& sTitle)
{
    WriteLine(L"%s", Underscores);
    WriteLine(L"%s", sTitle);
    WriteLine(L"");
}
