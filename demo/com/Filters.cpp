// Two DirectShow filters of one pin each. They can be put into a graph and tell what they are; no media runs.
#include <windows.h>

#include <strmif.h>
#include <vfwmsgs.h>

#include <cwchar>
#include <iterator>

#include "Objects.h"
#include "Unknown.h"

namespace
{

// A pin is a part of its filter and shares its reference count.
class CPin final : public IPin
{
public:
    CPin(IBaseFilter* pFilter, PIN_DIRECTION eDirection) : m_pFilter(pFilter), m_eDirection(eDirection) {}
    virtual ~CPin() = default;

    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override
    {
        *ppObject = riid == IID_IUnknown || riid == IID_IPin ? this : nullptr;
        if (*ppObject == nullptr)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return m_pFilter->AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return m_pFilter->Release(); }

    STDMETHODIMP Connect(IPin*, const AM_MEDIA_TYPE*) override { return VFW_E_TYPE_NOT_ACCEPTED; }
    STDMETHODIMP ReceiveConnection(IPin*, const AM_MEDIA_TYPE*) override { return VFW_E_TYPE_NOT_ACCEPTED; }
    STDMETHODIMP Disconnect() override { return S_FALSE; }
    STDMETHODIMP ConnectedTo(IPin** ppPin) override
    {
        *ppPin = nullptr;
        return VFW_E_NOT_CONNECTED;
    }
    STDMETHODIMP ConnectionMediaType(AM_MEDIA_TYPE*) override { return VFW_E_NOT_CONNECTED; }
    STDMETHODIMP QueryPinInfo(PIN_INFO* pInfo) override
    {
        *pInfo = { m_pFilter, m_eDirection, {} };
        m_pFilter->AddRef();
        std::wcscpy(pInfo->achName, m_eDirection == PINDIR_INPUT ? L"In" : L"Out");
        return S_OK;
    }
    STDMETHODIMP QueryDirection(PIN_DIRECTION* peDirection) override
    {
        *peDirection = m_eDirection;
        return S_OK;
    }
    STDMETHODIMP QueryId(LPWSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP QueryAccept(const AM_MEDIA_TYPE*) override { return S_FALSE; }
    STDMETHODIMP EnumMediaTypes(IEnumMediaTypes**) override { return E_NOTIMPL; }
    STDMETHODIMP QueryInternalConnections(IPin**, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP EndOfStream() override { return E_UNEXPECTED; }
    STDMETHODIMP BeginFlush() override { return E_UNEXPECTED; }
    STDMETHODIMP EndFlush() override { return E_UNEXPECTED; }
    STDMETHODIMP NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) override { return E_UNEXPECTED; }

private:
    IBaseFilter* m_pFilter;
    PIN_DIRECTION m_eDirection;
};

class CEnumPin final : public CUnknown<IEnumPins>
{
public:
    explicit CEnumPin(IPin* pPin) : m_pPin(pPin) { m_pPin->AddRef(); }

    STDMETHODIMP Next(ULONG nWanted, IPin** ppPins, ULONG* pnFetched) override
    {
        const ULONG nFetched = !m_bDone && nWanted > 0 ? 1 : 0;
        if (nFetched == 1)
        {
            m_bDone = true;
            *ppPins = m_pPin;
            m_pPin->AddRef();
        }
        if (pnFetched != nullptr)
            *pnFetched = nFetched;
        return nFetched == nWanted ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG nCount) override
    {
        const ULONG nLeft = m_bDone ? 0 : 1;
        m_bDone = m_bDone || nCount > 0;
        return nCount <= nLeft ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override
    {
        m_bDone = false;
        return S_OK;
    }
    STDMETHODIMP Clone(IEnumPins** ppEnum) override
    {
        auto* const pClone = new CEnumPin(m_pPin);
        pClone->m_bDone = m_bDone;
        *ppEnum = pClone;
        return S_OK;
    }

private:
    ~CEnumPin() override { m_pPin->Release(); }

    IPin* m_pPin;
    bool m_bDone = false;
};

class CFilter final : public CUnknown<IBaseFilter>
{
public:
    CFilter(REFCLSID rClsid, PIN_DIRECTION eDirection) : m_clsid(rClsid), m_Pin(this, eDirection) {}

    STDMETHODIMP GetClassID(CLSID* pClsid) override
    {
        *pClsid = m_clsid;
        return S_OK;
    }
    STDMETHODIMP Stop() override { return SetState(State_Stopped); }
    STDMETHODIMP Pause() override { return SetState(State_Paused); }
    STDMETHODIMP Run(REFERENCE_TIME) override { return SetState(State_Running); }
    STDMETHODIMP GetState(DWORD, FILTER_STATE* peState) override
    {
        *peState = m_eState;
        return S_OK;
    }
    STDMETHODIMP SetSyncSource(IReferenceClock*) override { return S_OK; }
    STDMETHODIMP GetSyncSource(IReferenceClock** ppClock) override
    {
        *ppClock = nullptr;
        return S_OK;
    }
    STDMETHODIMP EnumPins(IEnumPins** ppEnum) override
    {
        *ppEnum = new CEnumPin(&m_Pin);
        return S_OK;
    }
    STDMETHODIMP FindPin(LPCWSTR, IPin** ppPin) override
    {
        *ppPin = nullptr;
        return VFW_E_NOT_FOUND;
    }
    STDMETHODIMP QueryFilterInfo(FILTER_INFO* pInfo) override
    {
        *pInfo = {};
        pInfo->pGraph = m_pGraph;
        std::wcsncpy(pInfo->achName, m_aName, std::size(m_aName) - 1);
        if (m_pGraph != nullptr)
            m_pGraph->AddRef();
        return S_OK;
    }
    // The graph owns its filters, so a filter holds no reference to it.
    STDMETHODIMP JoinFilterGraph(IFilterGraph* pGraph, LPCWSTR pName) override
    {
        m_pGraph = pGraph;
        std::wcsncpy(m_aName, pName != nullptr ? pName : L"", std::size(m_aName) - 1);
        return S_OK;
    }
    STDMETHODIMP QueryVendorInfo(LPWSTR*) override { return E_NOTIMPL; }

private:
    void* Find(REFIID riid) override
    {
        return riid == IID_IPersist || riid == IID_IMediaFilter ? static_cast<IBaseFilter*>(this)
                                                                : CUnknown::Find(riid);
    }
    HRESULT SetState(FILTER_STATE eState)
    {
        m_eState = eState;
        return S_OK;
    }

    CLSID m_clsid;
    CPin m_Pin;
    FILTER_STATE m_eState = State_Stopped;
    IFilterGraph* m_pGraph = nullptr;
    wchar_t m_aName[MAX_FILTER_NAME] = L"";
};

} // namespace

IUnknown* MakeDecoder(REFCLSID rClsid, const CBehavior&)
{
    return new CFilter(rClsid, PINDIR_OUTPUT);
}

IUnknown* MakeRenderer(REFCLSID rClsid, const CBehavior&)
{
    return new CFilter(rClsid, PINDIR_INPUT);
}
