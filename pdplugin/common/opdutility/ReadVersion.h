// The reads behind the version functions of checker and collectors. Failures go through the caller's log.
#pragma once

#include <string>

#include "platform/VersionResource.h"

class CFunctionLog;

// Of one of the product's own module files, by the path as it stands. Throws E_FAIL for any other file and for one that
// is too short, and what the reading answers.
[[nodiscard]] std::wstring ReadModuleVersion(const CFunctionLog& log, const std::wstring& sPath);

// The fixed version of the file's resource; throws the code of what is missing.
[[nodiscard]] CVersionResource::CFixed ReadFixedVersion(const CFunctionLog& log, const std::wstring& sPath);
