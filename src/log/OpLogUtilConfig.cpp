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
    CSupportUsersDescriptor security;
    const DWORD dwStatus = MakeFolder(sDirPath, security.Attributes(FALSE));
    if (dwStatus != ERROR_SUCCESS)
        throw HResultFromWin32(dwStatus);
    return JoinPath(sDirPath, m_sFileName);
}
