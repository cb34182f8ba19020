#include "log/FileIO.h"

#include <shlobj.h>

#include "log/LogFile.h"
#include "platform/Format.h"
#include "platform/LocalTime.h"
#include "platform/Path.h"
#include "platform/Text.h"

namespace opLogSys::File
{
namespace
{

std::wstring DesktopFolder()
{
    std::wstring sPath;
    return GetSpecialFolder(CSIDL_DESKTOP, true, sPath) ? sPath : std::wstring();
}

std::wstring ExpandLocation(std::wstring sLocation, const SYSTEMTIME& rNow)
{
    ReplaceAll(sLocation, L"%DATE%", FormatText(L"%04d%02d%02d", rNow.wYear, rNow.wMonth, rNow.wDay));
    ReplaceAll(sLocation, L"%TIME%", FormatText(L"%02d%02d%02d", rNow.wHour, rNow.wMinute, rNow.wSecond));
    if (sLocation.find(L"%DESKTOP%") != sLocation.npos)
        ReplaceAll(sLocation, L"%DESKTOP%", DesktopFolder());
    return sLocation;
}

// With its backslash; empty when there is none.
std::wstring FolderOfLocation(const std::wstring& sLocation)
{
    if (sLocation == L"desktop")
    {
        const std::wstring sDesktop = DesktopFolder();
        return sDesktop.empty() ? sDesktop : WithTrailingBackslash(sDesktop);
    }
    // "current" is the program's folder and not the process's current one.
    if (sLocation.empty() || sLocation == L"current")
        return {};
    const bool bFromProgram = sLocation.starts_with(L'.');
    const std::wstring sPath = bFromProgram ? JoinPath(ModuleDirPath(), sLocation)
                                            : WithoutTrailingBackslash(sLocation);
    if (!bFromProgram && PathExists(sPath) && !FolderExists(sPath))
        return sPath.substr(0, sPath.size() - FileNamePart(sPath).size());
    return MakeFolder(sPath) == ERROR_SUCCESS ? WithTrailingBackslash(sPath) : std::wstring();
}

} // namespace

std::wstring ResolveTraceFolder(const std::wstring& sLocation, const SYSTEMTIME& rNow)
{
    const std::wstring sFolder = FolderOfLocation(ExpandLocation(sLocation, rNow));
    return sFolder.empty() ? WithTrailingBackslash(ModuleDirPath()) : sFolder;
}

CFileIO::CFileIO(const std::wstring& sSubject, bool bAutoFlush, const std::wstring& sLocation, Encoding eEncoding)
    : m_bAutoFlush(bAutoFlush),
      m_sLocation(sLocation),
      m_eEncoding(eEncoding)
{
    const SYSTEMTIME Now = LocalNow();
    m_sPath = FormatText(L"%s%s-%04d-%02d-%02d [%02d-%02d-%02d].log", ResolveTraceFolder(m_sLocation, Now), sSubject,
                         Now.wYear, Now.wMonth, Now.wDay, Now.wHour, Now.wMinute, Now.wSecond);
}

CFileIO::~CFileIO()
{
    if (m_hFile)
        ::FlushFileBuffers(m_hFile.Get());
}

LONG CFileIO::Open()
{
    m_Lock.Lock();
    return 0;
}

LONG CFileIO::Close()
{
    m_Lock.Unlock();
    return 0;
}

void CFileIO::WriteLine(const wchar_t* pText)
{
    const CLockScope lock(m_Lock);
    WriteText(pText);
    WriteText(L"\r\n");
}

void CFileIO::WriteText(const wchar_t* pText)
{
    const CLockScope lock(m_Lock);
    if (!m_hFile)
        OpenFile();
    if (m_hFile)
        WriteLogText(m_hFile.Get(), pText, m_eEncoding);
}

void CFileIO::Flush()
{
    const CLockScope lock(m_Lock);
    if (m_bAutoFlush && m_hFile)
        ::FlushFileBuffers(m_hFile.Get());
}

// A second process of the same second finds the name taken and counts on: "[01]" to "[99]", the last one taken or not.
void CFileIO::OpenFile()
{
    const std::wstring sFirst = m_sPath;
    for (int n = 1; n <= 99 && PathExists(m_sPath); ++n)
        m_sPath = WithNameTail(sFirst, FormatText(L"[%02d]", n));
    m_hFile = OpenLogFile(m_sPath, GENERIC_WRITE, nullptr, m_eEncoding);
}

} // namespace opLogSys::File
