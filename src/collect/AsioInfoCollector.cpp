#include "collect/AsioInfoCollector.h"

#include "collect/CollectorFolders.h"
#include "collect/CollectorUtil.h"
#include "collect/ListedTime.h"
#include "log/FunctionLog.h"
#include "opdutility/OpdFileHelper.h"
#include "opdutility/OpdLogFile.h"
#include "platform/HResult.h"
#include "platform/Path.h"
#include "platform/RegKey.h"

namespace
{

constexpr DWORD MaxText = 32767; // characters; no path and no line is longer

// One less than the longest key name needs: a name of 255 characters ends the list with its error.
constexpr DWORD NameCapacity = 255;
constexpr DWORD ClsidCapacity = 1024;

} // namespace

HRESULT CAsioInfoCollector::Collect(const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        CRegKey reg;
        if (OpenMachineKey(L"SOFTWARE\\ASIO", reg) != ERROR_SUCCESS)
            return;
        CreateOutputFolder(log, sOutDirPath);
        COpdLogFile csv;
        csv.OpenOrThrow(log, JoinPath(sOutDirPath, L"ASIO.csv"));
        csv.WriteLine(
            L"\"Device Name\",\"Description\",\"CLSID\",\"File Path\",\"File Size\",\"LastWriteTime\",\"File Version\","
            L"\"File Attributes\"");
        for (DWORD nIndex = 0;; ++nIndex)
        {
            std::wstring sName;
            const DWORD dwStatus = EnumSubKey(reg.Get(), nIndex, sName, NameCapacity);
            if (dwStatus == ERROR_NO_MORE_ITEMS)
                return;
            if (dwStatus != ERROR_SUCCESS)
                log.ThrowCode(HResultFromWin32(dwStatus), L"CRegKey::EnumKey(ASIO) failed. [0x%08X]");
            OutputDriver(reg.Get(), sName, csv);
        }
    });
}

void CAsioInfoCollector::OutputDriver(HKEY hAsio, const std::wstring& sName, COpdLogFile& rCsv)
{
    CRegKey reg;
    if (reg.Open(hAsio, sName, KEY_READ) != ERROR_SUCCESS)
        return;
    std::wstring sDescription;
    GetRegistryStringValue(reg, L"Description", sDescription);
    std::wstring sClsid;
    if (reg.QueryStringValue(L"CLSID", sClsid, ClsidCapacity) != ERROR_SUCCESS)
        return;
    CRegKey server;
    if (server.Open(HKEY_CLASSES_ROOT, FormatText(L"CLSID\\%s\\InprocServer32", sClsid), KEY_READ) != ERROR_SUCCESS)
        return;
    std::wstring sPath;
    if (FAILED(GetRegistryStringValue(server, L"", sPath)))
        return;
    FILETIME Creation, Access, Write;
    ULONGLONG ullSize = 0;
    if (FAILED(COpdFileHelper::GetFileInfo(sPath, Creation, Access, Write, ullSize)))
        return;
    std::wstring sVersion;
    CCollectorUtil::GetFileVersion(sPath, sVersion);
    rCsv.WriteLine(L"\"%s\",\"%s\",\"%s\",\"%s\",\"%d\",\"%s\",\"%s\",\"0x%08X\"", sName, sDescription, sClsid, sPath,
                   static_cast<DWORD>(ullSize), ListedTime(Write), sVersion, ::GetFileAttributesW(sPath.c_str()));
}

HRESULT CAsioInfoCollector::GetRegistryStringValue(const CRegKey& rKey, const wchar_t* pName, std::wstring& rsValue)
{
    CFunctionLog log;
    return log.Run([&] {
        DWORD dwBytes = 0;
        auto dwStatus = static_cast<DWORD>(::RegQueryValueExW(rKey.Get(), pName, nullptr, nullptr, nullptr, &dwBytes));
        if (dwStatus == ERROR_SUCCESS && dwBytes / sizeof(wchar_t) > MaxText)
            dwStatus = ERROR_MORE_DATA;
        if (dwStatus == ERROR_SUCCESS)
            dwStatus = rKey.QueryStringValue(pName, rsValue, dwBytes / sizeof(wchar_t));
        if (dwStatus != ERROR_SUCCESS)
            log.ThrowCode(HResultFromWin32(dwStatus), L"CRegKey::QueryStringValue(%s) failed. [0x%08X]", pName);
    });
}
