// The frames of the twelve collector modes of CKelvarinApp: COM for the thread, the parameters, then the collector.
#include "app/KelvarinApp.h"

#include "log/FunctionLog.h"
#include "platform/ComInit.h"

namespace
{

// A folder that a collector takes from the command line. An empty one is reported, not refused.
struct CFolder
{
    const std::wstring& sPath;
    const wchar_t* pName;
};

// The collectors themselves are not part of the program yet: every frame ends with E_NOTIMPL, and its child process
// with that exit code.
HRESULT RunFrame(CFunctionLog& log, std::initializer_list<CFolder> Folders)
{
    return log.Run([&]() -> HRESULT {
        const COpdComInit com;
        log.Check(com.GetResult(), L"COpdComInit::GetResult() failed. [0x%08X]");
        for (const CFolder& rFolder : Folders)
        {
            if (rFolder.sPath.empty())
                log.Warning(L"%s == empty", rFolder.pName);
        }
        log.FailCode(E_NOTIMPL, L"no collector for this mode yet. [0x%08X]");
    });
}

CFolder Repository(const CCmdLineParam& rParam) { return { rParam.GetRepositoryDirPath(), L"sRepositoryDirPath" }; }
CFolder Nuvex(const CCmdLineParam& rParam) { return { rParam.GetNuvexDirPath(), L"sNuvexDirPath" }; }
CFolder Registry(const CCmdLineParam& rParam) { return { rParam.GetRegistryPath(), L"sRegistryPath" }; }
CFolder Out(const CCmdLineParam& rParam) { return { rParam.GetOutDirPath(), L"sOutDirPath" }; }

} // namespace

HRESULT CKelvarinApp::CollectVlmInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFrame(log, { Repository(rParam), Nuvex(rParam), Registry(rParam), Out(rParam) });
}

HRESULT CKelvarinApp::CollectSystemInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFrame(log, { Out(rParam) });
}

HRESULT CKelvarinApp::CollectRegistryInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFrame(log, { Out(rParam) });
}

HRESULT CKelvarinApp::CollectApplicationInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFrame(log, { Out(rParam) });
}

HRESULT CKelvarinApp::CollectInstallerInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFrame(log, { Out(rParam) });
}

HRESULT CKelvarinApp::CollectHardwareInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFrame(log, { Out(rParam) });
}

HRESULT CKelvarinApp::CollectDriverInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFrame(log, { Out(rParam) });
}

HRESULT CKelvarinApp::CollectLicenseFile(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFrame(log, { Repository(rParam), Out(rParam) });
}

HRESULT CKelvarinApp::CollectLogFile(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFrame(log, { Repository(rParam), Nuvex(rParam), Out(rParam) });
}

HRESULT CKelvarinApp::CollectAsioInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFrame(log, { Out(rParam) });
}

HRESULT CKelvarinApp::CrateBackupImage(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFrame(log, { Out(rParam) });
}

HRESULT CKelvarinApp::CreateHwinfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFrame(log, { Out(rParam) });
}
