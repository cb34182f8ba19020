#include "opdutility/ReadVersion.h"

#include "log/FunctionLog.h"
#include "opdutility/OpdFileHelper.h"
#include "platform/HResult.h"
#include "platform/Handle.h"
#include "platform/ModuleVersion.h"

std::wstring ReadModuleVersion(const CFunctionLog& log, const std::wstring& sPath)
{
    const CModuleVersion::Kind eKind = CModuleVersion::KindOf(sPath);
    if (eKind == CModuleVersion::Kind::None)
        log.Throw(E_FAIL);
    CTaskBlock pData;
    DWORD dwSize = 0;
    log.Check(COpdFileHelper::ReadFile(sPath, pData.Put(), &dwSize),
              L"COpdFileHelper::ReadFile( \"%s\" ) failed.[0x%08X]", sPath);
    const auto sVersion = CModuleVersion::Parse(eKind, { pData.Get(), dwSize });
    if (!sVersion)
        log.Throw(E_FAIL);
    return *sVersion;
}

CVersionResource::CFixed ReadFixedVersion(const CFunctionLog& log, const std::wstring& sPath)
{
    CVersionResource resource;
    if (const HRESULT hr = resource.Load(sPath); FAILED(hr))
        log.Throw(hr);
    const auto version = resource.Fixed();
    if (!version)
        log.Throw(LastErrorResult());
    return *version;
}
