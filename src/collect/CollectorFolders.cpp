#include "collect/CollectorFolders.h"

#include "opdutility/OpdFileHelper.h"
#include "platform/HResult.h"
#include "platform/Path.h"

HRESULT MakeOutputFolder(const std::wstring& sOutDirPath)
{
    // Joined with a name, an empty folder would mean the current one or the drive's root.
    return sOutDirPath.empty() ? E_INVALIDARG : COpdDirectoryHelper::CreateDirectoryExW(sOutDirPath);
}

void CreateOutputFolder(const CFunctionLog& log, const std::wstring& sOutDirPath, CFormat<std::wstring, HRESULT> failed)
{
    log.Check(MakeOutputFolder(sOutDirPath), failed, sOutDirPath);
}

std::wstring RequireShellFolder(const CFunctionLog& log, int nCsidl, const wchar_t* pName)
{
    std::wstring sPath;
    const HRESULT hr = GetShellFolder(nCsidl, sPath);
    // A folder that the PC does not have may come as a success without a path.
    if (FAILED(hr) || sPath.empty())
        log.ThrowCode(FAILED(hr) ? hr : E_FAIL, L"::SHGetFolderPath( %s ) failed. [0x%08X]", pName);
    return sPath;
}

std::wstring RequireSystemFolder(const CFunctionLog& log, UINT(WINAPI* pGet)(LPWSTR, UINT), const wchar_t* pName)
{
    std::wstring sPath = SystemFolder(pGet);
    if (sPath.empty())
    {
        // The doubled prefix stands in every log of the field.
        const HRESULT hr = LastErrorResult();
        log.Throw(hr, L"%s() failed.[0x%0x%08X]", pName, hr, hr);
    }
    return sPath;
}
