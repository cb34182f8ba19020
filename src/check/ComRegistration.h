// What the registry says of a COM class.
#pragma once

#include <optional>
#include <string>

#include "platform/Win32.h"

// The default value of the class's InprocServer32 key, of less than 520 characters; without a value when the key or
// its value cannot be read.
[[nodiscard]] std::optional<std::wstring> RegisteredServer(const CLSID& rClsid);
