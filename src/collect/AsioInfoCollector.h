// Lists the installed ASIO sound drivers, as the registry has them.
#pragma once

#include <string>

#include "platform/Win32.h"

class CFunctionLog;
class COpdLogFile;
class CRegKey;

class CAsioInfoCollector
{
public:
    // A PC without ASIO has nothing to report: no folder, no file, no failure. A driver whose registration is damaged
    // or whose file is gone has no row.
    HRESULT Collect(const std::wstring& sOutDirPath);

private:
    static void OutputDriver(HKEY hAsio, const std::wstring& sName, COpdLogFile& rCsv);
    // A text of any length.
    static HRESULT GetRegistryStringValue(const CRegKey& rKey, const wchar_t* pName, std::wstring& rsValue);
};
