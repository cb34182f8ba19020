#include "check/ComRegistration.h"

#include "platform/Format.h"
#include "platform/GuidText.h"
#include "platform/RegKey.h"

namespace
{
constexpr DWORD PathCapacity = 520; // characters
}

std::optional<std::wstring> RegisteredServer(const CLSID& rClsid)
{
    CRegKey reg;
    std::wstring sPath;
    if (reg.Open(HKEY_CLASSES_ROOT, FormatText(L"CLSID\\%ls\\InprocServer32", TextOfGuid(rClsid)), KEY_READ) !=
            ERROR_SUCCESS ||
        reg.QueryStringValue(nullptr, sPath, PathCapacity) != ERROR_SUCCESS)
        return std::nullopt;
    return sPath;
}
