#include "collect/CollectorFolders.h"

#include "opdutility/OpdFileHelper.h"
#include "platform/Path.h"

void RequireFolder(const CFunctionLog& log, const std::wstring& sOutDirPath)
{
    if (sOutDirPath.empty())
        log.Fail(E_INVALIDARG, L"sOutDirPath == empty");
}

void CreateOutputFolder(const CFunctionLog& log, const std::wstring& sOutDirPath, CFormat<std::wstring, HRESULT> failed)
{
    RequireFolder(log, sOutDirPath);
    log.Check(COpdDirectoryHelper::CreateDirectoryExW(sOutDirPath), failed, sOutDirPath);
}

std::wstring RequireShellFolder(const CFunctionLog& log, int nCsidl, const wchar_t* pName)
{
    std::wstring sPath;
    const HRESULT hr = GetShellFolder(nCsidl, sPath);
    // A folder that the PC does not have may come as a success without a path.
    if (FAILED(hr) || sPath.empty())
        log.ThrowCode(hr, L"::SHGetFolderPath( %s ) failed. [0x%08X]", pName);
    return sPath;
}
