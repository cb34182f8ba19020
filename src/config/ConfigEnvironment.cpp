// Where the product lies on this PC, what language the user has, and which processor runs.
#include <shlobj.h>

#include "config/ConfigFile.h"
#include "config/XmlWalk.h"
#include "opdutility/OpdWow64.h"
#include "platform/HResult.h"
#include "platform/Path.h"
#include "platform/RegKey.h"
#include "platform/SystemLibrary.h"
#include "platform/Text.h"

using Microsoft::WRL::ComPtr;

namespace
{

constexpr const wchar_t* NoSxsId = L"__none__";
constexpr const wchar_t* ProductKey = L"SOFTWARE\\Tolvane Corporation\\Velmora";
constexpr DWORD LocationCapacity = 1024; // characters

std::wstring ReadProductValue(const CFunctionLog& log, const wchar_t* pName)
{
    CRegKey reg;
    DWORD dwStatus = OpenMachineKey(ProductKey, reg);
    if (dwStatus != ERROR_SUCCESS)
        log.ThrowCode(HResultFromWin32(dwStatus), L"reg.Open( \"%s\" ) failed.[0x%08X]", ProductKey);
    std::wstring sValue;
    dwStatus = reg.QueryStringValue(pName, sValue, LocationCapacity);
    if (dwStatus != ERROR_SUCCESS)
        log.ThrowCode(HResultFromWin32(dwStatus), L"reg.QueryStringValue( \"%s\" ) failed.[0x%08X]", pName);
    return sValue;
}

// A shell folder; a failure is reported and gives an empty path.
std::wstring ShellFolder(const CFunctionLog& log, int nCsidl, const wchar_t* pCsidlName)
{
    std::wstring sPath;
    const HRESULT hr = GetShellFolder(nCsidl, sPath);
    if (FAILED(hr))
        log.Warning(L"::SHGetFolderPath( %s ) failed. [0x%08X]", pCsidlName, hr);
    return sPath;
}

// A folder that the registry names, or its place below the common files. An empty value that could be read stays empty.
std::wstring ProductFolder(const CFunctionLog& log, const wchar_t* pValueName, const wchar_t* pFallback,
                           const wchar_t* pLogName)
{
    std::wstring sPath;
    if (SUCCEEDED(CFunctionLog::Try([&] { sPath = ReadProductValue(log, pValueName); })))
        return sPath;
    sPath = ShellFolder(log, CSIDL_PROGRAM_FILES_COMMON, L"CSIDL_PROGRAM_FILES_COMMON") + pFallback;
    log.Note(L"%s path : %s", pLogName, sPath);
    return sPath;
}

// An attribute of the root; the default stays where it is missing.
void ReadRootAttribute(const CFunctionLog& log, IXMLDOMElement* pRoot, const wchar_t* pName, const wchar_t* pDefault,
                       std::wstring& rsText)
{
    rsText = pDefault;
    CVariant value;
    if (pRoot->getAttribute(CBstr(pName).Get(), value.Put()) != S_OK)
        return;
    if (value.IsText())
        rsText = value.Text();
    else
        log.Assert(L"name:\"%ls\" val.vt != VT_BSTR.", pName);
}

} // namespace

HRESULT CConfigFile::LoadEnvironment(IXMLDOMDocument* pDocument)
{
    CFunctionLog log;
    return log.Run([&] {
        LoadRootAttributes(log, pDocument);
        if (EqualsNoCase(m_sSxsId, NoSxsId))
            LoadInstalledLocations(log);
        else
            LoadSxsLocations(log);
        m_wLanguage = static_cast<WORD>(::GetUserDefaultLCID() & 0x3FF);
        m_sSystemDirPath = ShellFolder(log, CSIDL_SYSTEM, L"CSIDL_SYSTEM");
        m_sProgramDirPath = ShellFolder(log, CSIDL_PROGRAM_FILES, L"CSIDL_PROGRAM_FILES");
        CFunctionLog::Try([&] { LoadMachine(log); });
        const HRESULT hr = COpdWow64::IsWow64(&m_bWow64);
        if (FAILED(hr))
        {
            log.Assert(L"COpdWow64::IsWow64() failed.[0x%08X]", hr);
            m_bWow64 = false;
        }
    });
}

void CConfigFile::LoadRootAttributes(const CFunctionLog& log, IXMLDOMDocument* pDocument)
{
    ComPtr<IXMLDOMNode> pRootNode;
    const HRESULT hr = pDocument->selectSingleNode(CBstr(L"installchecker").Get(), &pRootNode);
    if (hr != S_OK || !pRootNode)
        log.Fail(E_FAIL, L"pXmlDoc->selectSingleNode() failed.[0x%08X]", hr);
    ComPtr<IXMLDOMElement> pRoot;
    if (FAILED(pRootNode.As(&pRoot)))
        log.Fail(E_FAIL, L"pRootNode->QueryInterface( IXMLDOMElement ) failed.");

    ReadRootAttribute(log, pRoot.Get(), L"sxs-id", NoSxsId, m_sSxsId);
    ReadRootAttribute(log, pRoot.Get(), L"registry-path", L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Tolvane Corporation\\Velmora",
                      m_sRegistryPath);
    if (m_sSxsId.empty())
        log.Fail(E_FAIL, L"sSxsId.IsEmpty()");
    ReplaceAll(m_sRegistryPath, L"HKEY_LOCAL_MACHINE\\", L"");
}

void CConfigFile::LoadInstalledLocations(const CFunctionLog& log)
{
    m_sRepositoryDirPath = ProductFolder(log, L"repository", L"\\Tolvane Shared\\Velmora", L"repository");
    m_sNuvexDirPath = ProductFolder(log, L"Nuvex", L"\\Tolvane Shared\\Nuvex", L"Nuvex");
    if (FAILED(CFunctionLog::Try([&] { LoadInstallerLocation(log); })))
        m_sInstallerDirPath.clear();
}

void CConfigFile::LoadInstallerLocation(const CFunctionLog& log)
{
    const std::wstring sProgramFiles = ShellFolder(log, CSIDL_PROGRAM_FILES, L"CSIDL_PROGRAM_FILES");
    // Without the folder the token would become a relative path.
    if (sProgramFiles.empty())
        log.Throw(E_FAIL);
    m_sInstallerDirPath = JoinPath(JoinPath(sProgramFiles, L"InstallShield Installation Information"),
                                   ReadProductValue(log, L"InstallerGUID"));
}

void CConfigFile::LoadSxsLocations(const CFunctionLog& log)
{
    std::wstring sModulePath(MAX_PATH, L'\0');
    sModulePath.resize(::GetModuleFileNameW(nullptr, sModulePath.data(), MAX_PATH));
    if (sModulePath.empty())
        log.Fail(E_FAIL, L"GetModuleFileName() failed.[%u]", ::GetLastError());
    m_sRepositoryDirPath = m_sNuvexDirPath = DirectoryPart(sModulePath);
    m_sInstallerDirPath.clear();
}

void CConfigFile::LoadMachine(const CFunctionLog& log)
{
    m_nMachine = Machine_Other;
    const HMODULE hKernel = ::GetModuleHandleW(L"kernel32");
    if (hKernel == nullptr)
        log.ThrowCode(LastErrorResult(), L"GetModuleHandle( \"kernel32\" ) failed.[0x%08X]");
    decltype(&::GetNativeSystemInfo) pGetNativeSystemInfo = nullptr;
    if (!BindFunction(hKernel, "GetNativeSystemInfo", pGetNativeSystemInfo))
    {
        m_nMachine = Machine_X86;
        return;
    }
    SYSTEM_INFO SystemInfo{};
    pGetNativeSystemInfo(&SystemInfo);
    log.Note(L"SystemInfo.wProcessorArchitecture = %u", SystemInfo.wProcessorArchitecture);
    if (SystemInfo.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_INTEL)
        m_nMachine = Machine_X86;
    else if (SystemInfo.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_AMD64)
        m_nMachine = Machine_X64;
}

bool CConfigFile::IsSxS() const
{
    return !m_sSxsId.empty() && !EqualsNoCase(m_sSxsId, NoSxsId);
}

bool CConfigFile::IsTargetSxs(const std::wstring& sList) const
{
    return AnyWord(sList, [this](const std::wstring& sWord) { return EqualsNoCase(sWord, m_sSxsId); });
}

void CConfigFile::ExpandPathTokens(std::wstring& rsText) const
{
    // One pass for each token, in this order: a value that holds a later token is expanded by that pass.
    const struct
    {
        std::wstring_view sToken;
        const std::wstring& rsValue;
        // clang-format off
    } aTokens[] = {
        { L"?[nuvex]?", m_sNuvexDirPath },
        { L"?[repository]?", m_sRepositoryDirPath },
        { L"?[system]?", m_sSystemDirPath },
        { L"?[installer]?", m_sInstallerDirPath },
        { L"?[program]?", m_sProgramDirPath },
    };
    // clang-format on
    for (const auto& rToken : aTokens)
        ReplaceAll(rsText, rToken.sToken, rToken.rsValue);
}
