// What the registry says of a COM class.
#pragma once

#include <optional>
#include <string>

#include "platform/Win32.h"

class CFunctionLog;

// An identity as text, in braces. Throws E_FAIL, with its record, when there is none.
[[nodiscard]] std::wstring GuidText(const CFunctionLog& log, const GUID& rGuid);

// The default value of the class's InprocServer32 key, of less than 520 characters; without a value when the key or
// its value cannot be read.
[[nodiscard]] std::optional<std::wstring> RegisteredServer(const CFunctionLog& log, const CLSID& rClsid);
