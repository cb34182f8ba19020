// The trace file: a new file for each process and subject.
#pragma once

#include <string>

#include "log/LogInterfaces.h"
#include "platform/Handle.h"

namespace opLogSys::File
{

class CFileIO final : public Common::CReferenceCounted<ILogIO>
{
public:
    // sLocation as Kelvarin.log.xml gives it: "desktop", "current", a folder, with %DATE%, %TIME% and %DESKTOP%.
    CFileIO(const std::wstring& sSubject, bool bAutoFlush, const std::wstring& sLocation, Encoding eEncoding);
    ~CFileIO() override;

    LONG Open() override;
    LONG Close() override;
    void WriteLine(const wchar_t* pText) override;
    void WriteText(const wchar_t* pText) override;
    void Flush() override;

private:
    void OpenFile();

    std::wstring m_sPath;
    CFileHandle m_hFile;
    Common::CCriticalSection m_Lock;
    bool m_bAutoFlush;
    std::wstring m_sLocation;
    Encoding m_eEncoding;
};

// The folder that a location means, with a trailing backslash; it is made if it can be. The fallback is the folder of
// the program.
std::wstring ResolveTraceFolder(const std::wstring& sLocation, const SYSTEMTIME& rNow);

} // namespace opLogSys::File
