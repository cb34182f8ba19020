// Runs a program and waits for its end.
#pragma once

#include <string>

#include "platform/Win32.h"

class COpdExecFile
{
public:
    // The command line is the file in quotes, a blank and sCmdLine as it stands: the caller has quoted what needs it.
    // Waits without a time limit. A child's exit code other than 0 is no failure; *pExitCode stays untouched when the
    // child could not be started.
    static HRESULT Execute(const std::wstring& rcsFileName, const std::wstring& sCmdLine, DWORD* pExitCode);
};
