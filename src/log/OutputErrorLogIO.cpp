#include "log/OutputErrorLogIO.h"

#include <algorithm>
#include <string_view>

#include "log/LogFile.h"
#include "platform/Path.h"

namespace opLogSys
{
namespace
{

// A file beyond this many bytes is not read into memory for trimming.
constexpr LONGLONG MaxTrimmed = 0x4000000;

// The file's name without folder and extension.
std::wstring BareName(const std::wstring& sPath)
{
    const std::wstring_view sName = FileNamePart(sPath);
    return std::wstring(sName.substr(0, sName.rfind(L'.')));
}

// Where the text begins once so many whole lines are cut from its start that at most nLimit bytes are left. A lead
// byte is skipped with its follower, so that a trail byte is never taken for a CR.
std::size_t CutPosition(std::string_view sText, std::size_t nLimit, Encoding eEncoding)
{
    std::size_t n = 0;
    while (sText.size() - n > nLimit && sText.size() - n >= 5)
    {
        while (sText.size() - n > 4 && !sText.substr(n).starts_with("\r\n"))
            n += eEncoding == Encoding::Ansi && ::IsDBCSLeadByte(static_cast<BYTE>(sText[n])) ? 2u : 1u;
        if (sText.size() - n <= 4)
            break;
        n += 2;
    }
    return n;
}

} // namespace

namespace Common
{

CMutex::CMutex(const std::wstring& sName) : m_sName(sName)
{
    CEverybodyDescriptor security;
    m_hMutex.Attach(::CreateMutexW(security.Attributes(TRUE), FALSE, m_sName.c_str()));
}

void CMutex::Lock()
{
    if (::InterlockedIncrement(&m_nUsers) == 1)
        ::WaitForSingleObject(m_hMutex.Get(), INFINITE);
}

void CMutex::Unlock()
{
    if (::InterlockedDecrement(&m_nUsers) == 0)
        ::ReleaseMutex(m_hMutex.Get());
}

} // namespace Common

COutputErrorLogIO::COutputErrorLogIO(const std::wstring& sPath, DWORD dwLimit, bool bTrim, Encoding eEncoding)
    : m_sPath(sPath),
      m_pMutex(Common::CReference<Common::CMutex>::Own(
          new Common::CMutex(L"Global\\COutputErrorLogIO::" + BareName(sPath)))),
      m_dwLimit(dwLimit),
      m_bTrim(bTrim),
      m_eEncoding(eEncoding)
{
}

LONG COutputErrorLogIO::Open()
{
    m_Lock.Lock();
    m_pMutex->Lock();
    if (m_nOpen == 0)
        Quietly([this] { OpenFile(); });
    return ++m_nOpen;
}

LONG COutputErrorLogIO::Close()
{
    if (m_nOpen == 1)
        Quietly([this] { CloseFile(); });
    m_nOpen = std::max(m_nOpen - 1, 0L);
    const LONG nOpen = m_nOpen;
    m_pMutex->Unlock();
    m_Lock.Unlock();
    return nOpen;
}

void COutputErrorLogIO::WriteText(const wchar_t* pText)
{
    const Common::COutputScope output(*this);
    if (m_hFile)
        WriteLogText(m_hFile.Get(), pText, m_eEncoding);
}

void COutputErrorLogIO::WriteLine(const wchar_t* pText)
{
    const Common::COutputScope output(*this);
    WriteText(pText);
    WriteText(L"\r\n");
}

void COutputErrorLogIO::OpenFile()
{
    if (m_hFile || m_sPath.empty())
        return;
    m_hFile = OpenLogFile(m_sPath, GENERIC_READ | GENERIC_WRITE, m_Security.Attributes(FALSE), m_eEncoding);
}

void COutputErrorLogIO::CloseFile()
{
    LARGE_INTEGER Size{};
    const bool bTooLarge = m_hFile && ::GetFileSizeEx(m_hFile.Get(), &Size) && Size.QuadPart > m_dwLimit;
    if (bTooLarge && m_bTrim)
        Trim(Size.QuadPart);
    m_hFile.Close();
    if (bTooLarge && !m_bTrim && PathExists(m_sPath))
        KeepAsBackup();
}

void COutputErrorLogIO::KeepAsBackup() const
{
    const std::wstring sBackup = m_sPath + L".bak";
    if (PathExists(sBackup))
    {
        ::SetFileAttributesW(sBackup.c_str(),
                             ::GetFileAttributesW(sBackup.c_str()) & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
        ::DeleteFileW(sBackup.c_str());
    }
    ::MoveFileW(m_sPath.c_str(), sBackup.c_str());
}

void COutputErrorLogIO::Trim(LONGLONG nSize)
{
    if (nSize > MaxTrimmed)
        return;
    std::string sText(static_cast<std::size_t>(nSize), '\0');
    DWORD dwRead = 0;
    ::SetFilePointerEx(m_hFile.Get(), LARGE_INTEGER{}, nullptr, FILE_BEGIN);
    if (!::ReadFile(m_hFile.Get(), sText.data(), static_cast<DWORD>(sText.size()), &dwRead, nullptr))
        return;
    sText.resize(dwRead);
    sText.erase(0, CutPosition(sText, m_dwLimit, m_eEncoding));
    ::SetFilePointerEx(m_hFile.Get(), LARGE_INTEGER{}, nullptr, FILE_BEGIN);
    if (sText.size() > 4)
    {
        if (m_eEncoding == Encoding::Utf8)
            WriteByteOrderMark(m_hFile.Get());
        DWORD dwWritten = 0;
        if (!::WriteFile(m_hFile.Get(), sText.data(), static_cast<DWORD>(sText.size()), &dwWritten, nullptr))
            return;
    }
    ::SetEndOfFile(m_hFile.Get());
}

} // namespace opLogSys
