#include "sptioctl/SptIoCtlObject.h"

#include "platform/HResult.h"

namespace sptioctl
{

CSptIoCtlObject::~CSptIoCtlObject()
{
    if (m_bSection)
        ::DeleteCriticalSection(&m_Section);
}

HRESULT CSptIoCtlObject::Initialize()
{
    m_bSection = ::InitializeCriticalSectionAndSpinCount(&m_Section, 0) != FALSE;
    return m_bSection ? S_OK : LastErrorResult();
}

HRESULT STDMETHODCALLTYPE CSptIoCtlObject::SendNoDataCmd(BYTE nCdbSize, const BYTE* pCdb, BYTE* pSenseKey, BYTE* pASC,
                                                         BYTE* pASCQ)
{
    return Send({ Direction::None, false, nCdbSize, pCdb, 0, nullptr, nullptr, { pSenseKey, pASC, pASCQ } });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlObject::SendNoDataCmdDirect(BYTE nCdbSize, const BYTE* pCdb, BYTE* pSenseKey,
                                                               BYTE* pASC, BYTE* pASCQ)
{
    return Send({ Direction::None, true, nCdbSize, pCdb, 0, nullptr, nullptr, { pSenseKey, pASC, pASCQ } });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlObject::SendInDataCmd(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize, BYTE* pData,
                                                         DWORD* pdwTransferred, BYTE* pSenseKey, BYTE* pASC,
                                                         BYTE* pASCQ)
{
    return Send(
        { Direction::In, false, nCdbSize, pCdb, dwDataSize, pData, pdwTransferred, { pSenseKey, pASC, pASCQ } });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlObject::SendInDataCmdDirect(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize,
                                                               BYTE* pData, DWORD* pdwTransferred, BYTE* pSenseKey,
                                                               BYTE* pASC, BYTE* pASCQ)
{
    return Send({ Direction::In, true, nCdbSize, pCdb, dwDataSize, pData, pdwTransferred, { pSenseKey, pASC, pASCQ } });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlObject::SendOutDataCmd(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize,
                                                          BYTE* pData, DWORD* pdwTransferred, BYTE* pSenseKey,
                                                          BYTE* pASC, BYTE* pASCQ)
{
    return Send(
        { Direction::Out, false, nCdbSize, pCdb, dwDataSize, pData, pdwTransferred, { pSenseKey, pASC, pASCQ } });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlObject::SendOutDataCmdDirect(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize,
                                                                BYTE* pData, DWORD* pdwTransferred, BYTE* pSenseKey,
                                                                BYTE* pASC, BYTE* pASCQ)
{
    return Send(
        { Direction::Out, true, nCdbSize, pCdb, dwDataSize, pData, pdwTransferred, { pSenseKey, pASC, pASCQ } });
}

} // namespace sptioctl
