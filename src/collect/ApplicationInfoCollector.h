// Records what starts with the PC and what is installed on it.
#pragma once

#include <span>
#include <string>

#include "platform/Win32.h"

class CRegKey;
class CResultLog;

// A program or product: an open key, the name that it has among its neighbours, and its time there.
struct CInstalled
{
    const CRegKey& rKey;
    std::wstring sName;
    FILETIME LastWrite;
};

class CApplicationInfoCollector
{
public:
    // Makes the folder when it is missing. A part that fails costs its own file's rest only; a file that cannot be
    // made ends the collection.
    HRESULT Collect(const std::wstring& sOutDirPath);

private:
    // A value that a text block shows, REG_SZ or REG_DWORD.
    struct CProperty
    {
        DWORD dwType;
        const wchar_t* pName;
    };

    static HRESULT EnableBackupPrivilege();
    static HRESULT OutputStartupPrograms(CResultLog& rResultLog);
    static HRESULT OutputInstalledPrograms(CResultLog& rCsv, CResultLog& rText);
    static HRESULT OutputMsiInstallProperties(CResultLog& rResultLog);

    static HRESULT OutputProgramRow(const CInstalled& rProgram, CResultLog& rCsv);
    static HRESULT OutputProgramInfo(const CInstalled& rProgram, CResultLog& rText);
    static HRESULT OutputInstallProperties(const CInstalled& rProduct, CResultLog& rText);
    static void WriteBlock(const CInstalled& rInstalled, std::span<const CProperty> Properties,
                           const wchar_t* pNameLabel, CResultLog& rText);

    // A text of at most 1,023 characters.
    static HRESULT GetStringProperty(const CRegKey& rKey, const wchar_t* pName, std::wstring& rsValue);
    static HRESULT GetDwordProperty(const CRegKey& rKey, const wchar_t* pName, DWORD& rdwValue);
};
