// Lists the folders in which installers keep their caches.
#pragma once

#include <string>

#include "platform/Win32.h"

class CInstallerInfoCollector
{
public:
    // Makes the folder when it is missing. A list that fails costs a record only.
    HRESULT Collect(const std::wstring& sOutDirPath);

private:
    static HRESULT OutputWindowsInstallerFileList(const std::wstring& sCsvPath);
    static HRESULT OutputInstallShieldFileList(const std::wstring& sCsvPath);
    static HRESULT OutputInstallShieldx86FileList(const std::wstring& sCsvPath);
};
