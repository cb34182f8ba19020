// The one place that includes <windows.h>. It checks what the build promises: the oldest system is Windows 7; addresses
// of drivers, wire records of device requests and the registry views all count on 32-bit words.
#pragma once

#include <windows.h>

static_assert(_WIN32_WINNT == 0x0601 && WINVER == 0x0601, "Kelvarin runs on Windows 7");
static_assert(sizeof(void*) == 4, "Kelvarin is a 32-bit program only");
