#include "log/OpLogUtilConfig.h"

#include <shlobj.h>

#include "app/CmdLineParam.h"
#include "platform/HResult.h"
#include "platform/Path.h"
#include "platform/Security.h"

std::wstring COpLogUtilConfigImp::GetXmlPath()
{
    return JoinPath(ModuleDirPath(), m_sName + L".log.xml");
}

std::wstring COpLogUtilConfigImp::GetErrorLogPath()
{
    std::wstring sDirPath;
    if (SUCCEEDED(CCmdLineParam::OfThisProcess().GetResultDirPath(sDirPath)) && !sDirPath.empty())
        return JoinPath(sDirPath, m_sErrorLogFileName);
    return COpLogPathForZenthar(m_sErrorLogFileName).GetPath();
}

std::wstring COpLogPathForZenthar::GetPath()
{
    std::wstring sAppData;
    if (!GetSpecialFolder(CSIDL_COMMON_APPDATA, true, sAppData))
        throw LastErrorResult();
    const std::wstring sDirPath = JoinPath(JoinPath(sAppData, L"Tolvane Corporation"), L"Velmora");
    if (!FileExists(sDirPath))
    {
        CSupportUsersDescriptor security;
        const int nError = ::SHCreateDirectoryExW(nullptr, sDirPath.c_str(), security.Attributes(FALSE));
        // Another process of the run may have been faster.
        if (nError != ERROR_SUCCESS && !FileExists(sDirPath))
            throw HResultFromWin32(static_cast<DWORD>(nError));
    }
    return JoinPath(sDirPath, m_sFileName);
}
