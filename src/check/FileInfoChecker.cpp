#include "check/FileInfoChecker.h"

#include <shlwapi.h>

#include <algorithm>
#include <array>

#include "check/Base64.h"
#include "check/CheckReport.h"
#include "check/FileCertificate.h"
#include "check/Sha1.h"
#include "opdutility/ReadVersion.h"
#include "platform/CodePage.h"
#include "platform/HResult.h"
#include "platform/ModuleVersion.h"
#include "platform/Path.h"
#include "platform/Text.h"

namespace
{

constexpr DWORD HashPiece = 262144; // bytes

// Only a name that holds all three fragments is load-tested. The opposite looks meant, but the runtime libraries of
// old compilers were once checked by this rule, and installations pass by it: it stays.
bool IsLoadTested(const std::wstring& sPath)
{
    if (!EndsWithNoCase(sPath, L".dll") && !EndsWithNoCase(sPath, L".ax"))
        return false;
    std::wstring sName(FileNamePart(sPath));
    ::_wcslwr_s(sName.data(), sName.size() + 1);
    return sName.find(L"atl") != sName.npos && sName.find(L"mfc") != sName.npos && sName.find(L"msvc") != sName.npos;
}

// A failed load must not raise a box of the system.
class CQuietErrors
{
public:
    CQuietErrors() { ::SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &m_dwOld); }
    ~CQuietErrors() { ::SetThreadErrorMode(m_dwOld, nullptr); }
    CQuietErrors(const CQuietErrors&) = delete;
    CQuietErrors& operator=(const CQuietErrors&) = delete;

private:
    DWORD m_dwOld = 0;
};

} // namespace

// The file of one record, opened at its first use and for all of its tests.
class CFileInfoChecker::COpenFile
{
public:
    explicit COpenFile(const std::wstring& sPath) : m_sPath(sPath) {}

    const std::wstring& Path() const { return m_sPath; }
    HANDLE Get() const { return m_hFile.Get(); }
    ULONGLONG Size() const { return m_ullSize; }

    // Opens the file and takes its size, unless that has been done; throws the code of what failed.
    void Open(const CFunctionLog& log)
    {
        if (m_hFile)
            return;
        CFileHandle hFile(::CreateFileW(m_sPath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!hFile)
            log.FailCode(LastErrorResult(), L"file.Create( \"%s\" ) failed.[0x%08X]", m_sPath);
        LARGE_INTEGER Size{};
        if (!::GetFileSizeEx(hFile.Get(), &Size))
        {
            const HRESULT hr = LastErrorResult();
            log.Fail(hr, L"file.GetSize() failed.[0x%08X] \"%s\"", hr, m_sPath);
        }
        m_ullSize = static_cast<ULONGLONG>(Size.QuadPart);
        m_hFile = std::move(hFile);
    }

private:
    std::wstring m_sPath;
    CFileHandle m_hFile;
    ULONGLONG m_ullSize = 0;
};

CFileInfoChecker::CFileInfoChecker(CResultLog& rResultLog, const std::vector<CFileInfo>& rInfos)
    : m_rResultLog(rResultLog),
      m_rInfos(rInfos),
      m_Progress(L"CFileInfoChecker", static_cast<UINT32>(rInfos.size()), L"Checking File...")
{
}

HRESULT CFileInfoChecker::CheckFileInfos(UINT32* pulFailed)
{
    CFunctionLog log;
    return CheckRecords(
        log, m_Progress, m_rInfos, pulFailed,
        [](const CFileInfo& rInfo) { return FormatText(L"Checking Files...(\"%s\")", rInfo.sPath); },
        [this](const CFileInfo& rInfo) { return CheckFileInfo(rInfo); },
        [&](const CFileInfo& rInfo, HRESULT hr) {
            log.Warning(L"CheckFileInfo( \"%s\" ) failed. [0x%08X]", rInfo.sPath, hr);
        });
}

HRESULT CFileInfoChecker::CheckFileInfo(const CFileInfo& rInfo)
{
    CFunctionLog log;
    return log.Run([&] {
        COpenFile file(rInfo.sPath);
        CheckExistence(log, rInfo);
        CheckVersion(log, rInfo);
        CheckSize(log, rInfo, file);
        if (!CheckLoading(log, rInfo))
            return;
        CheckCertificate(log, rInfo);
        CheckHash(log, rInfo, file);
        m_rResultLog.WriteLine(L"Succeeded: Check File Info \"%s\"", rInfo.sPath);
    });
}

void CFileInfoChecker::CheckExistence(const CFunctionLog& log, const CFileInfo& rInfo)
{
    // A folder of that name passes as well.
    if (!::PathFileExistsW(rInfo.sPath.c_str()))
        FailEntry(log, m_rResultLog, E_FAIL, L"Failed: File is not found.\"%s\"", rInfo.sPath);
}

void CFileInfoChecker::CheckVersion(const CFunctionLog& log, const CFileInfo& rInfo)
{
    if (rInfo.sVersion.empty())
        return;
    const bool bModule = CModuleVersion::KindOf(rInfo.sPath) != CModuleVersion::Kind::None;
    std::wstring sVersion;
    const HRESULT hr = bModule ? GetTvmFileVersion(rInfo, sVersion) : GetFileVersion(rInfo, sVersion);
    if (FAILED(hr) && bModule)
        FailEntry(log, m_rResultLog, hr, L"Failed: GetTvmFileVersion( \"%s\" ) failed.[0x%08X]", rInfo.sPath, hr);
    if (FAILED(hr))
        FailEntry(log, m_rResultLog, hr, L"Failed: GetFileVersion( \"%s\" ) failed.[0x%08X]", rInfo.sPath, hr);
    if (!EqualsNoCase(sVersion, rInfo.sVersion))
        FailEntry(log, m_rResultLog, E_FAIL,
                  L"Failed: File version is not equal. [current:%s, original:%s] [FilePath:\"%s\"]", sVersion,
                  rInfo.sVersion, rInfo.sPath);
}

void CFileInfoChecker::CheckSize(const CFunctionLog& log, const CFileInfo& rInfo, COpenFile& rFile)
{
    if (rInfo.sSize.empty())
        return;
    std::wstring sSize;
    const HRESULT hr = GetFileSize(rFile, sSize);
    if (FAILED(hr))
        FailEntry(log, m_rResultLog, hr, L"Failed: GetFileSize( \"%s\" ) failed.[0x%08X]", rInfo.sPath, hr);
    if (!EqualsNoCase(sSize, rInfo.sSize))
        FailEntry(log, m_rResultLog, E_FAIL,
                  L"Failed: File size is not equal. [current:%s, original:%s] [FilePath:\"%s\"]", sSize, rInfo.sSize,
                  rInfo.sPath);
}

// False ends the check of this file without counting it: the line stands in the result file, but a library that does
// not load here has never made a PC fail. This stays as it is.
bool CFileInfoChecker::CheckLoading(const CFunctionLog& log, const CFileInfo& rInfo)
{
    if (!IsLoadTested(rInfo.sPath))
        return true;
    const CQuietErrors quiet;
    const CModuleHandle hModule(::LoadLibraryExW(rInfo.sPath.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (hModule)
        return true;
    const DWORD dwError = ::GetLastError();
    CFunctionLog::Try([&] {
        FailEntry(log, m_rResultLog, E_FAIL, L"Failed: LoadLibraryEx( \"%s\" ) failed.[%u]", rInfo.sPath, dwError);
    });
    return false;
}

void CFileInfoChecker::CheckCertificate(const CFunctionLog& log, const CFileInfo& rInfo)
{
    if (rInfo.sDigitalSignature.empty())
        return;
    std::wstring sName;
    const HRESULT hr = CFileCertificate::GetCertificateSubjectName(rInfo.sPath, sName);
    if (FAILED(hr))
        FailEntry(log, m_rResultLog, hr, L"Failed: GetCertificateSubjectName( \"%s\" ) failed.[0x%08X]", rInfo.sPath,
                  hr);
    if (!EqualsNoCase(sName, rInfo.sDigitalSignature))
        FailEntry(log, m_rResultLog, E_FAIL,
                  L"Failed: Certificate Display Name is not equal. [current:\"%s\", original:\"%s\"] [FilePath:\"%s\"]",
                  sName, rInfo.sDigitalSignature, rInfo.sPath);
}

void CFileInfoChecker::CheckHash(const CFunctionLog& log, const CFileInfo& rInfo, COpenFile& rFile)
{
    if (rInfo.sSha1.empty())
        return;
    const HRESULT hr = CompareSha(rFile, ToNarrow(rInfo.sSha1));
    if (FAILED(hr))
        FailEntry(log, m_rResultLog, hr, L"Failed: File hash is not equal. [FilePath:\"%s\"]", rInfo.sPath);
}

HRESULT CFileInfoChecker::GetFileVersion(const CFileInfo& rInfo, std::wstring& rsVersion)
{
    CFunctionLog log;
    return log.Run([&] { rsVersion = FixedVersionText(ReadFixedVersion(log, rInfo.sPath)); });
}

HRESULT CFileInfoChecker::GetTvmFileVersion(const CFileInfo& rInfo, std::wstring& rsVersion)
{
    CFunctionLog log;
    return log.Run([&] { rsVersion = ReadModuleVersion(log, rInfo.sPath); });
}

HRESULT CFileInfoChecker::GetFileSize(COpenFile& rFile, std::wstring& rsSize)
{
    CFunctionLog log;
    return log.Run([&] {
        rFile.Open(log);
        rsSize = FormatText(L"%I64d", rFile.Size());
    });
}

HRESULT CFileInfoChecker::CompareSha(COpenFile& rFile, const std::string& sExpected)
{
    CFunctionLog log;
    return log.Run([&] {
        CSha1::Digest Expected{};
        const std::size_t nDecoded = Base64Decode(sExpected, Expected);
        if (nDecoded > Expected.size())
            log.Throw(E_UNEXPECTED, L"Base64Decode() failed.");
        if (nDecoded < Expected.size())
            log.Throw(E_UNEXPECTED, L"Base64Decode() failed.[nHash != sizeof(sHash)]");

        rFile.Open(log);
        CSha1 sha;
        static thread_local std::array<BYTE, HashPiece> aPiece;
        DWORD dwRead = 0;
        for (ULONGLONG ullLeft = rFile.Size(); ullLeft > 0; ullLeft -= dwRead)
        {
            const auto dwWanted = static_cast<DWORD>(std::min<ULONGLONG>(ullLeft, aPiece.size()));
            const BOOL bRead = ::ReadFile(rFile.Get(), aPiece.data(), dwWanted, &dwRead, nullptr);
            // A file that has become shorter ends the loop too.
            if (!bRead || dwRead == 0)
            {
                const HRESULT hr = bRead ? HResultFromWin32(ERROR_HANDLE_EOF) : LastErrorResult();
                log.Throw(hr, L"file.Read() failed.[0x%08X] \"%s\"", hr, rFile.Path());
            }
            sha.Update({ aPiece.data(), dwRead });
        }
        const CSha1::Digest Actual = sha.Final();
        if (Actual != Expected)
            log.Throw(E_FAIL, L"memcmp( aHash1, aHash2 ) failed. \"%s\"", rFile.Path());
    });
}
