#include "sptioctl/SptIoCtlObject.h"

namespace sptioctl
{

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
