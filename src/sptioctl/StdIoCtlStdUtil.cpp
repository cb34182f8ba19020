#include "sptioctl/StdIoCtlStdUtil.h"

#include "log/FunctionLog.h"
#include "sptioctl/SptIoCtl.h"
#include "sptioctl/SptIoCtlDebug.h"

namespace sptioctl
{
namespace
{

// Gives the reference up without letting the object go.
template <typename T>
ISptIoCtl* WithoutReference(Microsoft::WRL::ComPtr<T> pObject)
{
    T* const pRaw = pObject.Detach();
    pRaw->Unreference();
    return pRaw;
}

} // namespace

ISptIoCtl* CSptIoCtlStdUtil::CreateSptIoCtl()
{
    CFunctionLog log;
    ISptIoCtl* pResult = nullptr;
    log.Run([&] {
        Microsoft::WRL::ComPtr<CSptIoCtl> pPlain;
        log.Check(CreateInstance<CSptIoCtl>(pPlain),
                  L"CComObject<sptioctl::CSptIoCtl>::CreateInstance() failed. [0x%08X]");
        if (!CFunctionLog::IsTarget(L"CSptIoCtlDebug", CFunctionLog::Level))
        {
            pResult = WithoutReference(std::move(pPlain));
            return;
        }
        Microsoft::WRL::ComPtr<CSptIoCtlDebug> pDebug;
        log.Check(CreateInstance<CSptIoCtlDebug>(pDebug),
                  L"CComObject<sptioctl::CSptIoCtlDebug>::CreateInstance() failed. [0x%08X]");
        log.Check(pDebug->SetSptIoCtl(pPlain.Get()), L"CSptIoCtlDebug::SetSptIoCtl() failed. [0x%08X]");
        pResult = WithoutReference(std::move(pDebug));
    });
    return pResult;
}

} // namespace sptioctl
