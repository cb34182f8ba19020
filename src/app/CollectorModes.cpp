// The frames of the twelve collector modes of CKelvarinApp: COM for the thread, the parameters, then the collector.
#include "app/KelvarinApp.h"

#include <initializer_list>

#include "collect/ApplicationInfoCollector.h"
#include "collect/AsioInfoCollector.h"
#include "collect/BackUpImageMaker.h"
#include "collect/DriverInfoCollector.h"
#include "collect/DrmFilesCollector.h"
#include "collect/InstallerInfoCollector.h"
#include "collect/LogCollector.h"
#include "collect/RegInfoCollector.h"
#include "collect/SystemInfoCollector.h"
#include "collect/UniqueInfo.h"
#include "collect/VlmInfoCollector.h"
#include "hardware/HardwareInfoCollector.h"
#include "log/FunctionLog.h"
#include "platform/ComInit.h"
#include "platform/Path.h"

namespace
{

// A folder or key that a collector takes from the command line.
struct CParameter
{
    const std::wstring& sValue;
    const wchar_t* pName;
};

// An empty parameter is reported, not refused: the collector fails by itself. run gives the collector's result.
template <typename Run>
HRESULT RunFrame(CFunctionLog& log, std::initializer_list<CParameter> Parameters, const Run& run)
{
    return log.Run([&]() -> HRESULT {
        const COpdComInit com;
        log.Check(com.GetResult(), L"COpdComInit::GetResult() failed. [0x%08X]");
        for (const CParameter& rParameter : Parameters)
        {
            if (rParameter.sValue.empty())
                log.Warning(L"%s == empty", rParameter.pName);
        }
        return run();
    });
}

// The frame of a collector that takes the output folder alone; pCall is its operation in the log.
template <typename Collect>
HRESULT RunFolderFrame(CFunctionLog& log, const CCmdLineParam& rParam, const wchar_t* pCall, const Collect& collect)
{
    const std::wstring& sOutDirPath = rParam.GetOutDirPath();
    return RunFrame(log, { { sOutDirPath, L"sOutDirPath" } }, [&] {
        const HRESULT hr = collect(sOutDirPath);
        log.Note(L"%s( \"%s\" ) [0x%08X]", pCall, sOutDirPath, hr);
        return hr;
    });
}

const wchar_t* TrueOrFalse(bool bValue)
{
    return bValue ? L"true" : L"false";
}

} // namespace

HRESULT CKelvarinApp::CollectVlmInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    const std::wstring& sRepository = rParam.GetRepositoryDirPath();
    const std::wstring& sNuvex = rParam.GetNuvexDirPath();
    const std::wstring& sRegistry = rParam.GetRegistryPath();
    const std::wstring& sOut = rParam.GetOutDirPath();
    return RunFrame(log,
                    { { sRepository, L"sRepositoryDirPath" },
                      { sNuvex, L"sNuvexDirPath" },
                      { sRegistry, L"sRegistryPath" },
                      { sOut, L"sOutDirPath" } },
                    [&] {
                        const HRESULT hr = CVlmInfoCollector().Collect(sRepository, sNuvex, sRegistry, sOut);
                        log.Note(L"CVlmInfoCollector::Collect( \"%s\", \"%s\", \"%s\", \"%s\" ) [0x%08X]", sRepository,
                                 sNuvex, sRegistry, sOut, hr);
                        return hr;
                    });
}

HRESULT CKelvarinApp::CollectSystemInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    const std::wstring& sOut = rParam.GetOutDirPath();
    return RunFrame(log, { { sOut, L"sOutDirPath" } }, [&] {
        const HRESULT hr = CSystemInfoCollector().Collect(sOut, rParam.m_bSilent);
        log.Note(L"CSystemInfoCollector::Collect( \"%s\", %s ) [0x%08X]", sOut, TrueOrFalse(rParam.m_bSilent), hr);
        return hr;
    });
}

HRESULT CKelvarinApp::CollectRegistryInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFolderFrame(log, rParam, L"CRegInfoCollector::Collect",
                          [](const std::wstring& sOut) { return CRegInfoCollector().Collect(sOut); });
}

HRESULT CKelvarinApp::CollectApplicationInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFolderFrame(log, rParam, L"CApplicationInfoCollector::Collect",
                          [](const std::wstring& sOut) { return CApplicationInfoCollector().Collect(sOut); });
}

HRESULT CKelvarinApp::CollectInstallerInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFolderFrame(log, rParam, L"CInstallerInfoCollector::Collect",
                          [](const std::wstring& sOut) { return CInstallerInfoCollector().Collect(sOut); });
}

HRESULT CKelvarinApp::CollectHardwareInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFolderFrame(log, rParam, L"CHardwareInfoCollector::Collect",
                          [](const std::wstring& sOut) { return CHardwareInfoCollector().Collect(sOut); });
}

HRESULT CKelvarinApp::CollectDriverInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFolderFrame(log, rParam, L"CDriverInfoCollector::Collect",
                          [](const std::wstring& sOut) { return CDriverInfoCollector().Collect(sOut); });
}

HRESULT CKelvarinApp::CollectLicenseFile(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    const std::wstring& sRepository = rParam.GetRepositoryDirPath();
    const std::wstring& sOut = rParam.GetOutDirPath();
    return RunFrame(log, { { sRepository, L"sRepositoryDirPath" }, { sOut, L"sOutDirPath" } }, [&] {
        const HRESULT hr = CDrmFilesCollector().Collect(sRepository, sOut, rParam.m_bSxS);
        log.Note(L"CDrmFilesCollector::Collect( \"%s\", \"%s\" ) [0x%08X]", sRepository, sOut, hr);
        return hr;
    });
}

HRESULT CKelvarinApp::CollectLogFile(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    const std::wstring& sRepository = rParam.GetRepositoryDirPath();
    const std::wstring& sNuvex = rParam.GetNuvexDirPath();
    const std::wstring& sOut = rParam.GetOutDirPath();
    return RunFrame(
        log, { { sRepository, L"sRepositoryDirPath" }, { sNuvex, L"sNuvexDirPath" }, { sOut, L"sOutDirPath" } }, [&] {
            const HRESULT hr = CLogCollector().Collect(sRepository, sNuvex, rParam.m_bSxS, sOut);
            log.Note(L"CLogCollector::Collect( SxS:%s, \"%s\", \"%s\", \"%s\" ) [0x%08X]", TrueOrFalse(rParam.m_bSxS),
                     sRepository, sNuvex, sOut, hr);
            return hr;
        });
}

HRESULT CKelvarinApp::CollectAsioInfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFolderFrame(log, rParam, L"CAsioInfoCollector::Collect",
                          [](const std::wstring& sOut) { return CAsioInfoCollector().Collect(sOut); });
}

HRESULT CKelvarinApp::CrateBackupImage(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    return RunFolderFrame(log, rParam, L"CBackUpImageMaker::MakeBackUpImage",
                          [](const std::wstring& sOut) { return CBackUpImageMaker().MakeBackUpImage(sOut); });
}

// Whatever the module says, the mode has succeeded.
HRESULT CKelvarinApp::CreateHwinfo(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    const std::wstring& sOut = rParam.GetOutDirPath();
    return RunFrame(log, { { sOut, L"sOutDirPath" } }, [&] {
        const std::wstring sPath = JoinPath(sOut, L"hwinfo.dat");
        const std::wstring sFailure = collectUniqueInfo(sPath);
        log.Note(L"collectUniqueInfo( %s ) [%s]", sPath, sFailure.empty() ? std::wstring(L"OK") : sFailure);
        return S_OK;
    });
}
