// The installed DirectX version.
#include <initguid.h>

#include <dxdiag.h>
#include <wrl/client.h>

#include <cwctype>
#include <map>
#include <optional>

#include "collect/CollectorFolders.h"
#include "collect/CollectorUtil.h"
#include "log/FunctionLog.h"
#include "platform/ComInit.h"
#include "platform/ComText.h"
#include "platform/Path.h"

using Microsoft::WRL::ComPtr;

namespace
{

constexpr WORD AnyMajor = 0xFFFF;
constexpr wchar_t NoLetter = L' ';

constexpr CVersionResource::CFixed Version(DWORD a, DWORD b, DWORD c, DWORD d)
{
    return { a << 16 | b, c << 16 | d };
}

// A test of one file's fixed version. The last one that holds tells the DirectX version; a row that belongs to the one
// before it is tried only when that did not hold.
struct CVersionRow
{
    const wchar_t* pFile;
    WORD wMajor;
    CVersionResource::CFixed atLeast;
    DWORD dwMajor;
    DWORD dwMinor;
    wchar_t cLetter;
    bool bElse = false;
};

// The published table of the platform's maker, in its order.
constexpr CVersionRow VersionRows[] = {
    { L"ddraw.dll", AnyMajor, Version(4, 2, 0, 95), 1, 0, NoLetter },
    { L"ddraw.dll", AnyMajor, Version(4, 3, 0, 1096), 2, 0, NoLetter },
    { L"ddraw.dll", AnyMajor, Version(4, 4, 0, 68), 3, 0, NoLetter },
    { L"d3drg8x.dll", AnyMajor, Version(4, 4, 0, 70), 3, 0, L'a' },
    { L"ddraw.dll", AnyMajor, Version(4, 5, 0, 155), 5, 0, NoLetter },
    { L"ddraw.dll", AnyMajor, Version(4, 5, 0, 155), 6, 0, NoLetter }, // the same threshold: 5.0 never stays
    { L"ddraw.dll", AnyMajor, Version(4, 6, 0, 436), 6, 1, NoLetter },
    { L"dplayx.dll", AnyMajor, Version(4, 6, 3, 518), 6, 1, L'a' },
    { L"ddraw.dll", AnyMajor, Version(4, 7, 0, 700), 7, 0, NoLetter },
    { L"dinput.dll", AnyMajor, Version(4, 7, 0, 716), 7, 0, L'a' },
    { L"ddraw.dll", 4, Version(4, 8, 0, 400), 8, 0, NoLetter },
    { L"ddraw.dll", 5, Version(5, 1, 2258, 400), 8, 0, NoLetter, true },
    { L"d3d8.dll", 4, Version(4, 8, 1, 881), 8, 1, NoLetter },
    { L"d3d8.dll", 5, Version(5, 1, 2600, 881), 8, 1, NoLetter, true },
    { L"d3d8.dll", 4, Version(4, 8, 1, 901), 8, 1, L'a' },
    { L"d3d8.dll", 5, Version(5, 1, 2600, 901), 8, 1, L'a', true },
    { L"mpg2splt.ax", AnyMajor, Version(6, 3, 1, 885), 8, 1, L'b' },
    { L"dpnet.dll", 4, Version(4, 9, 0, 134), 8, 2, NoLetter },
    { L"dpnet.dll", 5, Version(5, 2, 3677, 134), 8, 2, NoLetter, true },
    { L"d3d9.dll", AnyMajor, Version(0, 0, 0, 0), 9, 0, NoLetter },
};

// The versions of the files in the system folder, each read once.
class CSystemFiles
{
public:
    explicit CSystemFiles(const std::wstring& sDirPath) : m_sDirPath(sDirPath) {}

    // Without a value for a file that has no version, or is not there.
    const std::optional<CVersionResource::CFixed>& Find(const wchar_t* pFile)
    {
        const auto [itFile, bNew] = m_Versions.try_emplace(pFile);
        CVersionResource::CFixed version;
        if (bNew && SUCCEEDED(CCollectorUtil::GetFileVersion(JoinPath(m_sDirPath, pFile), version)))
            itFile->second = version;
        return itFile->second;
    }

private:
    std::wstring m_sDirPath;
    std::map<std::wstring, std::optional<CVersionResource::CFixed>> m_Versions;
};

// One property of the diagnostics' system part, of the wanted variant type.
void ReadProperty(const CFunctionLog& log, IDxDiagContainer* pContainer, const wchar_t* pName, VARTYPE wType,
                  CVariant& rValue)
{
    const HRESULT hr = pContainer->GetProp(pName, rValue.Put());
    if (FAILED(hr) || rValue.Get().vt != wType)
        log.Throw(E_FAIL, L"pDxDiagSystemInfo->GetProp( L\"%s\" ) failed.[0x%08X]", pName, hr);
}

// The diagnostics from their provider down to the system part. All three live until the last property has been read.
struct CDiagnostics
{
    ComPtr<IDxDiagProvider> pProvider;
    ComPtr<IDxDiagContainer> pRoot, pSystemInfo;
};

CDiagnostics StartDiagnostics(const CFunctionLog& log)
{
    CDiagnostics result;
    log.Check(::CoCreateInstance(CLSID_DxDiagProvider, nullptr, CLSCTX_INPROC_SERVER, IID_IDxDiagProvider,
                                 reinterpret_cast<void**>(result.pProvider.GetAddressOf())),
              L"CoCreateInstance( CLSID_DxDiagProvider ) failed.[0x%08X]");
    DXDIAG_INIT_PARAMS Params{};
    Params.dwSize = sizeof Params;
    Params.dwDxDiagHeaderVersion = DXDIAG_DX9_SDK_VERSION;
    log.Check(result.pProvider->Initialize(&Params), L"pDxDiagProvider->Initialize() failed.[0x%08X]");
    log.Check(result.pProvider->GetRootContainer(&result.pRoot),
              L"pDxDiagProvider->GetRootContainer() failed.[0x%08X]");
    log.Check(result.pRoot->GetChildContainer(L"DxDiag_SystemInfo", &result.pSystemInfo),
              L"pDxDiagRoot->GetChildContainer( L\"DxDiag_SystemInfo\" ) failed.[0x%08X]");
    return result;
}

} // namespace

HRESULT CCollectorUtil::GetDXVersion(DWORD& rdwVersion, std::wstring& rsVersion)
{
    CFunctionLog log;
    return log.Run([&] {
        rdwVersion = 0;
        DWORD dwMajor = 0;
        DWORD dwMinor = 0;
        wchar_t cLetter = NoLetter;
        HRESULT hr = GetDirectXVersionViaDxDiag(dwMajor, dwMinor, cLetter);
        if (FAILED(hr))
            hr = GetDirectXVerionViaFileVersions(dwMajor, dwMinor, cLetter);
        log.Check(hr, L"GetDirectXVersion failed.[0x%08X]");

        cLetter = static_cast<wchar_t>(std::towlower(cLetter != L'\0' ? cLetter : NoLetter));
        rdwVersion = (dwMajor & 0xFF) << 16 | (dwMinor & 0xFF) << 8;
        if (cLetter >= L'a' && cLetter <= L'z')
            rdwVersion += static_cast<DWORD>(cLetter - L'a' + 1);
        rsVersion = cLetter == NoLetter ? FormatText(L"%d.%d", dwMajor, dwMinor)
                                        : FormatText(L"%d.%d%c", dwMajor, dwMinor, cLetter);
    });
}

HRESULT CCollectorUtil::GetDirectXVersionViaDxDiag(DWORD& rdwMajor, DWORD& rdwMinor, wchar_t& rcLetter)
{
    CFunctionLog log;
    return log.Run([&] {
        const COpdComInit com;
        const CDiagnostics diagnostics = StartDiagnostics(log);
        IDxDiagContainer* const pSystemInfo = diagnostics.pSystemInfo.Get();
        CVariant value;
        ReadProperty(log, pSystemInfo, L"dwDirectXVersionMajor", VT_UI4, value);
        rdwMajor = value.Get().ulVal;
        ReadProperty(log, pSystemInfo, L"dwDirectXVersionMinor", VT_UI4, value);
        rdwMinor = value.Get().ulVal;
        ReadProperty(log, pSystemInfo, L"szDirectXVersionLetter", VT_BSTR, value);
        const std::wstring sLetter = value.Text();
        rcLetter = sLetter.empty() ? NoLetter : sLetter.front();
    });
}

HRESULT CCollectorUtil::GetDirectXVerionViaFileVersions(DWORD& rdwMajor, DWORD& rdwMinor, wchar_t& rcLetter)
{
    CFunctionLog log;
    return log.Run([&] {
        const COpdComInit com;
        CSystemFiles files(RequireSystemFolder(log, ::GetSystemDirectoryW, L"GetSystemDirectory"));
        rdwMajor = rdwMinor = 0;
        rcLetter = NoLetter;
        bool bHeld = false;
        for (const CVersionRow& rRow : VersionRows)
        {
            if (rRow.bElse && bHeld)
                continue;
            const auto& version = files.Find(rRow.pFile);
            bHeld = version && (rRow.wMajor == AnyMajor || HIWORD(version->dwMS) == rRow.wMajor) &&
                    *version >= rRow.atLeast;
            if (!bHeld)
                continue;
            rdwMajor = rRow.dwMajor;
            rdwMinor = rRow.dwMinor;
            rcLetter = rRow.cLetter;
        }
    });
}
