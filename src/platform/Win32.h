// The one place that includes <windows.h>: fixes the oldest system (Windows 7), Unicode, and the word size.
#pragma once

#ifndef WINVER
#define WINVER 0x0601
#endif
#ifndef _WIN32_WINNT
#define _WIN32_WINNT 0x0601
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef STRICT
#define STRICT
#endif

#include <windows.h>

// Addresses of drivers, wire records of device requests and the registry views all count on 32-bit words.
static_assert(sizeof(void*) == 4, "Kelvarin is a 32-bit program only");
