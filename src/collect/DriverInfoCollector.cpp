#include "collect/DriverInfoCollector.h"

#include <shlobj.h>

#include "collect/CollectorFolders.h"
#include "collect/CollectorUtil.h"
#include "log/FunctionLog.h"
#include "platform/Path.h"

HRESULT CDriverInfoCollector::Collect(const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        CreateOutputFolder(log, sOutDirPath);
        const std::wstring sDirPath = JoinPath(RequireShellFolder(log, CSIDL_SYSTEM, L"CSIDL_SYSTEM"), L"drivers");
        if (!FolderExists(sDirPath))
            log.Throw(E_FAIL, L"A directory is not found. [%s]", sDirPath);
        CCollectorUtil::OutputVlmFileList(sDirPath, JoinPath(sOutDirPath, L"Drivers.csv"));
    });
}
