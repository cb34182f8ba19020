#include "log/ResultLog.h"

#include "platform/LocalTime.h"
#include "platform/VersionResource.h"

namespace
{

constexpr CLineWriterNames Names{ "CResultLog::Write", "CResultLog::WriteLine", L"m_File" };

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

void CResultLog::OpenOrThrow(const CFunctionLog& log, const std::wstring& sPath, bool bWriteHeader)
{
    log.Check(Open(sPath, bWriteHeader), L"CResultLog::Open( \"%s\" ) failed. [0x%08X]", sPath);
}

void CResultLog::WriteHeader()
{
    const SYSTEMTIME Now = LocalNow();
    WriteSeparator();
    WriteLine(L"[%04u/%02u/%02u %02u:%02u:%02u] Version %s", Now.wYear, Now.wMonth, Now.wDay, Now.wHour, Now.wMinute,
              Now.wSecond, ProgramVersion());
}

void CResultLog::WriteSeparator()
{
    WriteLine(L"________________________________________________");
}

void CResultLog::WriteSectionHead(const std::wstring& sTitle)
{
    WriteSeparator();
    WriteLine(L"%s", sTitle);
    WriteLine(L"");
}
