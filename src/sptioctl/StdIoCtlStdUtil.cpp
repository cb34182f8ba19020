#include "sptioctl/StdIoCtlStdUtil.h"

#include <new>

#include "log/FunctionLog.h"
#include "sptioctl/SptIoCtlDebug.h"

namespace sptioctl
{
namespace
{

// A new object, held by a reference; throws E_OUTOFMEMORY, with its record, when there is none.
template <typename T>
Microsoft::WRL::ComPtr<T> CreateInstance(const CFunctionLog& log, const wchar_t* pName)
{
    Microsoft::WRL::ComPtr<T> pObject(new (std::nothrow) T);
    if (!pObject)
        log.FailCode(E_OUTOFMEMORY, L"CComObject<sptioctl::%s>::CreateInstance() failed. [0x%08X]", pName);
    return pObject;
}

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
        auto pPlain = CreateInstance<CSptIoCtl>(log, L"CSptIoCtl");
        if (!CFunctionLog::IsTarget(L"CSptIoCtlDebug", CFunctionLog::Level))
        {
            pResult = WithoutReference(std::move(pPlain));
            return;
        }
        auto pDebug = CreateInstance<CSptIoCtlDebug>(log, L"CSptIoCtlDebug");
        log.Check(pDebug->SetSptIoCtl(pPlain.Get()), L"CSptIoCtlDebug::SetSptIoCtl() failed. [0x%08X]");
        pResult = WithoutReference(std::move(pDebug));
    });
    return pResult;
}

} // namespace sptioctl
