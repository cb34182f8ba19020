#include "app/CmdLineParam.h"

#include <shellapi.h>
#include <shlobj.h>

#include <algorithm>

#include "platform/Format.h"
#include "platform/Handle.h"
#include "platform/LocalTime.h"
#include "platform/Path.h"

namespace
{

// Fixed at its first use, so that all folders of one process agree.
const std::wstring& ProcessTimestamp()
{
    static const std::wstring s_sStamp = [] {
        const SYSTEMTIME Now = LocalNow();
        return FormatText(L"%04u-%02u-%02u-%02u%02u%02u", Now.wYear, Now.wMonth, Now.wDay, Now.wHour, Now.wMinute,
                          Now.wSecond);
    }();
    return s_sStamp;
}

HRESULT MakeDirPath(const std::wstring& sPath)
{
    return MakeFolder(sPath) == ERROR_SUCCESS && FolderExists(sPath) ? S_OK : E_UNEXPECTED;
}

// What stands behind nCount characters; empty when the text is shorter.
std::wstring_view Behind(std::wstring_view sText, std::size_t nCount)
{
    return sText.substr(std::min(nCount, sText.size()));
}

struct CModeWord
{
    std::wstring_view sWord;
    ExecMode nMode;
    bool bWhole = false; // the word must end there
};

constexpr CModeWord CollectWords[] = {
    { L"velmora", ExecMode_CollectVelmora },
    { L"system", ExecMode_CollectSystem },
    { L"registry", ExecMode_CollectRegistry },
    { L"application", ExecMode_CollectApplication },
    { L"installer", ExecMode_CollectInstaller },
    { L"hardware", ExecMode_CollectHardware },
    { L"driver", ExecMode_CollectDriver },
    { L"license", ExecMode_CollectLicense },
    { L"log", ExecMode_CollectLog },
    // Unlike the others this one takes no tail: "asiofoo" is unknown. Scripts rely on it.
    { L"asio", ExecMode_CollectAsio, true },
};

constexpr CModeWord CreateWords[] = {
    { L"backup", ExecMode_CreateBackup },
    { L"hwinfo", ExecMode_CreateHwinfo },
};

template <std::size_t N>
void FindMode(const CModeWord (&aWords)[N], std::wstring_view sText, ExecMode& rnMode)
{
    for (const CModeWord& rWord : aWords)
    {
        if (rWord.bWhole ? sText == rWord.sWord : sText.starts_with(rWord.sWord))
        {
            rnMode = rWord.nMode;
            return;
        }
    }
}

} // namespace

CCmdLineParam CCmdLineParam::OfThisProcess()
{
    CCmdLineParam param;
    int nCount = 0;
    const CLocalBlock pArguments(::CommandLineToArgvW(::GetCommandLineW(), &nCount));
    param.Parse(static_cast<const wchar_t* const*>(pArguments.Get()), nCount);
    return param;
}

HRESULT CCmdLineParam::Parse(const wchar_t* const* argv, int argc)
{
    if (argv == nullptr)
        return E_POINTER;
    if (argc <= 0)
        return E_INVALIDARG;
    for (int n = 1; n < argc; ++n)
    {
        const std::wstring_view sArgument = argv[n];
        const bool bPrefix = sArgument.starts_with(L'-') || sArgument.starts_with(L'/');
        ParseSwitch(Behind(sArgument, bPrefix ? 1 : 0));
    }
    return S_OK;
}

// A chain of prefix tests; the first that matches decides. "-s", "-x" and "-l" come first, so every word that begins
// with one of these letters means them: "-log" is the log folder "og".
void CCmdLineParam::ParseSwitch(std::wstring_view sText)
{
    if (sText.starts_with(L's'))
        m_bSilent = true;
    else if (sText.starts_with(L'l'))
        m_sLogDirPath = Behind(sText, 1);
    else if (sText.starts_with(L'x'))
        m_bSxS = true;
    else if (sText.starts_with(L"path"))
        ParsePath(Behind(sText, 5)); // the character behind the word is skipped unseen
    else if (sText.starts_with(L"collect"))
        FindMode(CollectWords, Behind(sText, 8), m_nExecMode);
    else if (sText.starts_with(L"create"))
        FindMode(CreateWords, Behind(sText, 7), m_nExecMode);
}

void CCmdLineParam::ParsePath(std::wstring_view sText)
{
    const struct
    {
        std::wstring_view sWord;
        std::wstring& rsField;
        // clang-format off
    } aPaths[] = {
        { L"file", m_sFilePath },
        { L"result", m_sResultDirPath },
        { L"repository", m_sRepositoryDirPath },
        { L"nuvex", m_sNuvexDirPath },
        { L"registry", m_sRegistryPath },
    };
    // clang-format on
    for (const auto& rPath : aPaths)
    {
        if (sText.starts_with(rPath.sWord))
        {
            rPath.rsField = Behind(sText, rPath.sWord.size());
            return;
        }
    }
}

HRESULT CCmdLineParam::GetLogDirPath(std::wstring& rsPath) const
{
    std::wstring sPath = m_sLogDirPath;
    if (sPath.empty())
    {
        std::wstring sDesktop;
        if (!GetSpecialFolder(CSIDL_DESKTOPDIRECTORY, false, sDesktop))
            return E_UNEXPECTED;
        sPath = JoinPath(sDesktop, L"Velmora_Install_Status_log\\" + ProcessTimestamp());
    }
    const HRESULT hr = MakeDirPath(sPath);
    if (SUCCEEDED(hr))
        rsPath = sPath;
    return hr;
}

HRESULT CCmdLineParam::GetResultDirPath(std::wstring& rsPath) const
{
    std::wstring sPath = m_sResultDirPath;
    if (sPath.empty())
    {
        const HRESULT hr = GetLogDirPath(sPath);
        if (FAILED(hr))
            return hr;
        sPath = JoinPath(sPath, L"Log");
    }
    const HRESULT hr = MakeDirPath(sPath);
    if (SUCCEEDED(hr))
        rsPath = sPath;
    return hr;
}
