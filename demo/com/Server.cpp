// The in-process server of the sample product: its classes, their registration and the proxy of its own interface.
//
// A class id that is not in the table, registered by hand, gives an ordinary object; so every combination of threading
// model and behaviour can be had without another server.
#include "Objects.h"
#include "Unknown.h"
#include "VlmInterfaces.h"

LONG g_nObjects = 0;

namespace
{

// An address that nobody may touch, and that no compiler knows: a strict build would trap a null pointer.
volatile ULONG_PTR s_nNowhere = 4;

struct CClassRow
{
    CLSID clsid;
    const wchar_t* pName;
    const wchar_t* pThreadingModel; // null: none
    IUnknown* (*pMake)(REFCLSID, const CBehavior&);
    const wchar_t* pBehavior = L"";
};

constexpr GUID OwnId(BYTE nNumber)
{
    return { 0x5D0E6B20, 0x3C44, 0x4F0A, { 0x9A, 0x41, 0x7B, 0x1C, 0x2D, 0x9E, 0x61, nNumber } };
}

constexpr CLSID ClsidProxy = OwnId(0xFF);
constexpr CLSID ClsidVlmSxs{ 0x3F662B8C, 0xEFA9, 0x49E4, { 0xA3, 0x53, 0x8F, 0x57, 0xBE, 0x3C, 0xCC, 0x61 } };
constexpr CLSID ClsidVlmSysInfo{ 0x52A86041, 0x4D4F, 0x493B, { 0xAC, 0xDC, 0x5E, 0xB5, 0xD7, 0x9B, 0x45, 0x04 } };
constexpr CLSID ClsidVlmBackup{ 0x22E3D7E2, 0x3AD5, 0x11D5, { 0x83, 0x1A, 0x00, 0x60, 0x97, 0x03, 0xEE, 0xCF } };

const CClassRow Classes[] = {
    { OwnId(0x01), L"VlmLibrary", L"Both", MakeProductObject },
    { OwnId(0x02), L"VlmDeviceList", L"Apartment", MakeProductObject },
    { OwnId(0x03), L"VlmScanner", L"Free", MakeProductObject },
    { OwnId(0x04), L"VlmLegacy", nullptr, MakeProductObject },
    { OwnId(0x05), L"VlmNotifier", L"Both", MakeProductObject, L"free-threaded answer-by-message" },
    { OwnId(0x06), L"VlmImporter", L"Both", MakeProductObject, L"catch-inside" },
    { OwnId(0x07), L"VlmCodecHost", L"Both", MakeProductObject, L"load-module" },
    { OwnId(0x08), L"VlmRipper", L"Both", MakeProductObject },
    { OwnId(0x09), L"VlmTagger", L"Both", MakeProductObject, L"free-threaded" },
    { OwnId(0x0A), L"VlmBurner", L"Both", MakeProductObject },
    { OwnId(0x0B), L"VlmPortable", L"Both", MakeProductObject },
    { OwnId(0x21), L"VlmDecoder", L"Both", MakeDecoder },
    { OwnId(0x22), L"VlmRenderer", L"Both", MakeRenderer },
    { ClsidVlmSxs, L"VlmSxs", L"Both", MakeSxs },
    { ClsidVlmSysInfo, L"VlmSysInfo", L"Both", MakeSysInfo },
    { ClsidVlmBackup, L"VlmBackup", L"Apartment", MakeBackup },
};

HINSTANCE s_hInstance = nullptr;
bool s_bUnloadEarly = false;

std::wstring ClassKey(REFCLSID rClsid)
{
    wchar_t aText[40] = L"";
    ::StringFromGUID2(rClsid, aText, 40);
    return std::wstring(L"SOFTWARE\\Classes\\CLSID\\") + aText;
}

std::wstring InterfaceKey(REFIID riid)
{
    wchar_t aText[40] = L"";
    ::StringFromGUID2(riid, aText, 40);
    return std::wstring(L"SOFTWARE\\Classes\\Interface\\") + aText;
}

std::wstring ReadText(const std::wstring& sKey, const wchar_t* pName)
{
    wchar_t aText[512] = L"";
    DWORD dwBytes = sizeof aText;
    const LONG nResult = ::RegGetValueW(HKEY_LOCAL_MACHINE, sKey.c_str(), pName, RRF_RT_REG_SZ, nullptr, aText,
                                        &dwBytes);
    return nResult == ERROR_SUCCESS ? aText : L"";
}

LONG WriteText(const std::wstring& sKey, const wchar_t* pName, const std::wstring& sText)
{
    const DWORD dwBytes = static_cast<DWORD>((sText.size() + 1) * sizeof(wchar_t));
    return ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, sKey.c_str(), pName, REG_SZ, sText.c_str(), dwBytes);
}

class CFactory final : public CUnknown<IClassFactory>
{
public:
    CFactory(REFCLSID rClsid, CBehavior behavior) : m_clsid(rClsid), m_Behavior(std::move(behavior)) {}

    STDMETHODIMP CreateInstance(IUnknown* pOuter, REFIID riid, void** ppObject) override
    {
        *ppObject = nullptr;
        if (pOuter != nullptr)
            return CLASS_E_NOAGGREGATION;
        if (m_Behavior.Has(L"throw-construct"))
            RaiseForeign();
        if (m_Behavior.Has(L"fault-construct"))
            *reinterpret_cast<volatile int*>(s_nNowhere) = 1;
        if (m_Behavior.Has(L"fail-object"))
            return E_ACCESSDENIED;
        if (m_Behavior.Has(L"null-object"))
            return S_OK;
        IUnknown* const pObject = Make();
        if (m_Behavior.Has(L"refuse-unknown"))
        {
            *ppObject = pObject;
            return S_OK;
        }
        const HRESULT hr = pObject->QueryInterface(riid, ppObject);
        pObject->Release();
        return hr;
    }
    STDMETHODIMP LockServer(BOOL bLock) override
    {
        bLock ? ::InterlockedIncrement(&g_nObjects) : ::InterlockedDecrement(&g_nObjects);
        return S_OK;
    }

private:
    IUnknown* Make() const
    {
        for (const CClassRow& rRow : Classes)
        {
            if (rRow.clsid == m_clsid)
                return rRow.pMake(m_clsid, m_Behavior);
        }
        return MakeProductObject(m_clsid, m_Behavior);
    }

    CLSID m_clsid;
    CBehavior m_Behavior;
};

// Lends the platform's proxy and stub for IPersist to the interface that has the same operations.
class CProxyFactory final : public CUnknown<IPSFactoryBuffer>
{
public:
    STDMETHODIMP CreateProxy(IUnknown* pOuter, REFIID riid, IRpcProxyBuffer** ppProxy, void** ppInterface) override
    {
        return Lend(riid, [&](IPSFactoryBuffer* pLender) {
            return pLender->CreateProxy(pOuter, IID_IPersist, ppProxy, ppInterface);
        });
    }
    STDMETHODIMP CreateStub(REFIID riid, IUnknown* pServer, IRpcStubBuffer** ppStub) override
    {
        return Lend(riid,
                    [&](IPSFactoryBuffer* pLender) { return pLender->CreateStub(IID_IPersist, pServer, ppStub); });
    }

private:
    template <typename Use>
    static HRESULT Lend(REFIID riid, const Use& use)
    {
        if (riid != __uuidof(IVlmIdentity))
            return E_NOINTERFACE;
        CLSID clsid{};
        IPSFactoryBuffer* pLender = nullptr;
        HRESULT hr = ::CoGetPSClsid(IID_IPersist, &clsid);
        if (SUCCEEDED(hr))
            hr = ::CoGetClassObject(clsid, CLSCTX_INPROC_SERVER, nullptr, IID_IPSFactoryBuffer,
                                    reinterpret_cast<void**>(&pLender));
        if (FAILED(hr))
            return hr;
        hr = use(pLender);
        pLender->Release();
        return hr;
    }
};

LONG RegisterClass(REFCLSID rClsid, const std::wstring& sName, const wchar_t* pThreadingModel,
                   const std::wstring& sServer)
{
    const std::wstring sKey = ClassKey(rClsid);
    LONG nResult = WriteText(sKey, nullptr, sName);
    if (nResult == ERROR_SUCCESS)
        nResult = WriteText(sKey + L"\\InprocServer32", nullptr, sServer);
    if (nResult == ERROR_SUCCESS && pThreadingModel != nullptr)
        nResult = WriteText(sKey + L"\\InprocServer32", L"ThreadingModel", pThreadingModel);
    return nResult;
}

} // namespace

extern "C" LONG WINAPI VlmObjectCount()
{
    return g_nObjects;
}

STDAPI DllGetClassObject(REFCLSID rClsid, REFIID riid, void** ppObject)
{
    *ppObject = nullptr;
    const std::wstring sKey = ClassKey(rClsid);
    CBehavior behavior{ ReadText(sKey, L"Behavior"), ReadText(sKey, L"Module") };
    s_bUnloadEarly = behavior.Has(L"unload-early");
    if (behavior.Has(L"no-class"))
        return CLASS_E_CLASSNOTAVAILABLE;
    IUnknown* const pFactory = rClsid == ClsidProxy ? static_cast<IUnknown*>(new CProxyFactory)
                                                    : new CFactory(rClsid, behavior);
    const HRESULT hr = pFactory->QueryInterface(riid, ppObject);
    pFactory->Release();
    return hr;
}

STDAPI DllCanUnloadNow()
{
    return g_nObjects == 0 || s_bUnloadEarly ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer()
{
    wchar_t aServer[MAX_PATH] = L"";
    ::GetModuleFileNameW(s_hInstance, aServer, MAX_PATH);
    const std::wstring sServer = aServer;
    wchar_t aProxy[40] = L"";
    ::StringFromGUID2(ClsidProxy, aProxy, 40);
    LONG nResult = RegisterClass(ClsidProxy, L"VlmProxy", L"Both", sServer);
    if (nResult == ERROR_SUCCESS)
        nResult = WriteText(InterfaceKey(__uuidof(IVlmIdentity)) + L"\\ProxyStubClsid32", nullptr, aProxy);
    for (const CClassRow& rRow : Classes)
    {
        if (nResult == ERROR_SUCCESS)
            nResult = RegisterClass(rRow.clsid, rRow.pName, rRow.pThreadingModel, sServer);
        if (nResult == ERROR_SUCCESS && *rRow.pBehavior != L'\0')
            nResult = WriteText(ClassKey(rRow.clsid), L"Behavior", rRow.pBehavior);
    }
    // The module that the codec host brings in stands beside this one.
    if (nResult == ERROR_SUCCESS)
        nResult = WriteText(ClassKey(OwnId(0x07)), L"Module",
                            sServer.substr(0, sServer.rfind(L'\\') + 1) + L"VlmCodecs.dll");
    return nResult == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(nResult);
}

STDAPI DllUnregisterServer()
{
    for (const CClassRow& rRow : Classes)
        ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, ClassKey(rRow.clsid).c_str());
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, ClassKey(ClsidProxy).c_str());
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, InterfaceKey(__uuidof(IVlmIdentity)).c_str());
    return S_OK;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD dwReason, void*)
{
    if (dwReason == DLL_PROCESS_ATTACH)
        s_hInstance = hInstance;
    return TRUE;
}
