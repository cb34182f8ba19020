// The right to save registry keys, for this process.
#pragma once

#include "log/FunctionLog.h"

// Throws when a call fails. A token that does not hold the privilege passes: what needs it then fails by itself.
void EnableBackupPrivilege(const CFunctionLog& log);
