#include "app/KelvarinApp.h"

#include "log/FunctionLog.h"
#include "platform/ObjectRef.h"

// The side-by-side helper of the installed product; only this one method is called. Not in the unnamed namespace: there
// the compiler sees that nobody implements the interface and drops the call.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor" // as every COM interface
struct IVlmSxs : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE enableKB843524Hack(INT32 nEnable) = 0;
};
#pragma GCC diagnostic pop

namespace
{

// Constructed before wWinMain, whoever asks first.
[[maybe_unused]] CKelvarinApp& s_rApp = CKelvarinApp::GetApp();

constexpr CLSID ClsidVlmSxs{ 0x3F662B8C, 0xEFA9, 0x49E4, { 0xA3, 0x53, 0x8F, 0x57, 0xBE, 0x3C, 0xCC, 0x61 } };
constexpr IID IidVlmSxs{ 0x3ABBB21C, 0xD223, 0x4B25, { 0x8B, 0xDF, 0x3F, 0xFB, 0x76, 0xFB, 0x58, 0x23 } };

} // namespace

CKelvarinApp& CKelvarinApp::GetApp()
{
    static CKelvarinApp s_App;
    return s_App;
}

HRESULT CKelvarinApp::Main(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    AddMessageLoop(&m_MessageLoop);
    EnableSideBySide(log);
    const HRESULT hr = log.Run([&] {
        try
        {
            return RunMode(log, rParam);
        }
        catch (HRESULT)
        {
            throw;
        }
        catch (...)
        {
            log.Error(L"unknown exception!");
            return E_UNEXPECTED;
        }
    });
    RemoveMessageLoop();
    return hr;
}

// Of no consequence for what follows: without the product the tool still runs all its modes.
void CKelvarinApp::EnableSideBySide(const CFunctionLog& log) const
{
    CObjectRef<IVlmSxs> pSxs;
    const wchar_t* pCall = L"CoCreateInstance(VlmSxs)";
    HRESULT hr = E_UNEXPECTED;
    try
    {
        hr = pSxs.Create(ClsidVlmSxs, IidVlmSxs);
        if (SUCCEEDED(hr))
        {
            pCall = L"IVlmSxs::enableKB843524Hack()";
            hr = CallObject([&] { return pSxs->enableKB843524Hack(1); });
        }
    }
    catch (const CForeignException&)
    {
        hr = E_UNEXPECTED;
    }
    if (FAILED(hr))
        log.Error(L"%s failed: %#x", pCall, hr);
}

HRESULT CKelvarinApp::RunMode(const CFunctionLog& log, const CCmdLineParam& rParam)
{
    static constexpr struct
    {
        const wchar_t* pWord;   // in the log's "=> ***" lines
        const wchar_t* pMethod; // in the failure line
        HRESULT (CKelvarinApp::*pRun)(const CCmdLineParam&);
    } Modes[] = {
        // in the order of ExecMode
        { L"exec: main", L"ExecuteMainTask", &CKelvarinApp::ExecuteMainTask },
        { L"collect: velmora", L"CollectVlmInfo", &CKelvarinApp::CollectVlmInfo },
        { L"collect: system", L"CollectSystemInfo", &CKelvarinApp::CollectSystemInfo },
        { L"collect: registry", L"CollectRegistryInfo", &CKelvarinApp::CollectRegistryInfo },
        { L"collect: application", L"CollectApplicationInfo", &CKelvarinApp::CollectApplicationInfo },
        { L"collect: installer", L"CollectInstallerInfo", &CKelvarinApp::CollectInstallerInfo },
        { L"collect: hardware", L"CollectHardwareInfo", &CKelvarinApp::CollectHardwareInfo },
        { L"collect: driver", L"CollectDriverInfo", &CKelvarinApp::CollectDriverInfo },
        { L"collect: license", L"CollectLicenseFile", &CKelvarinApp::CollectLicenseFile },
        { L"collect: log", L"CollectLogFile", &CKelvarinApp::CollectLogFile },
        { L"collect: ASIO", L"CollectAsioInfo", &CKelvarinApp::CollectAsioInfo },
        { L"create: backup", L"CrateBackupImage", &CKelvarinApp::CrateBackupImage },
        { L"create: hwinfo", L"CreateHwinfo", &CKelvarinApp::CreateHwinfo },
    };
    static_assert(std::size(Modes) == ExecMode_Count);
    if (rParam.m_nExecMode >= ExecMode_Count)
        log.Throw(E_FAIL, L"*** unknown exec-mode:%u ***", rParam.m_nExecMode);

    const auto& rMode = Modes[rParam.m_nExecMode];
    log.Note(L"=> *** %s ***", rMode.pWord);
    const HRESULT hr = (this->*rMode.pRun)(rParam);
    log.Note(L"<= *** %s ***", rMode.pWord);
    log.Check(hr, L"CKelvarinApp::%s() failed. [0x%08X]", rMode.pMethod);
    return hr;
}
