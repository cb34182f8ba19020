#include "check/ComRegistration.h"

#include <objbase.h>

#include "log/FunctionLog.h"
#include "platform/RegKey.h"

namespace
{
constexpr DWORD PathCapacity = 520; // characters
}

std::wstring GuidText(const CFunctionLog& log, const GUID& rGuid)
{
    wchar_t aText[64] = L"";
    if (::StringFromGUID2(rGuid, aText, static_cast<int>(std::size(aText))) == 0)
        log.Throw(E_FAIL, L"StringFromGUID2() failed.[%u]", ::GetLastError());
    return aText;
}

std::optional<std::wstring> RegisteredServer(const CFunctionLog& log, const CLSID& rClsid)
{
    CRegKey reg;
    std::wstring sPath;
    if (reg.Open(HKEY_CLASSES_ROOT, FormatText(L"CLSID\\%ls\\InprocServer32", GuidText(log, rClsid)), KEY_READ) !=
            ERROR_SUCCESS ||
        reg.QueryStringValue(nullptr, sPath, PathCapacity) != ERROR_SUCCESS)
        return std::nullopt;
    return sPath;
}
