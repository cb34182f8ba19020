// The state of the product itself: the report Velmora.txt and the lists of its files.
#pragma once

#include <string>

#include "app/ProgressClient.h"
#include "log/ResultLog.h"

class CVlmInfoCollector : private CResultLog
{
public:
    CVlmInfoCollector();

    // sRegistryPath lies below HKEY_LOCAL_MACHINE. Only a report that cannot be made is a failure: what cannot be found
    // out stands as such in the report or in the log.
    HRESULT Collect(const std::wstring& sRepositoryDirPath, const std::wstring& sNuvexDirPath,
                    const std::wstring& sRegistryPath, const std::wstring& sOutDirPath);

private:
    void ReportProduct(const CFunctionLog& log, const std::wstring& sRegistryPath);
    HRESULT OutputVelmoraVersion(const std::wstring& sRegistryPath);
    HRESULT OutputVlmRegion();
    HRESULT OutputVlmAreaCode(const std::wstring& sRegistryPath);
    HRESULT OutputLimitedPatchVersion();
    bool OutputPatchName(const CFunctionLog& log, const std::wstring& sKeyPath);
    HRESULT OutputServiceInfo();
    HRESULT OutputVlmFileInfo(const std::wstring& sRepositoryDirPath, const std::wstring& sNuvexDirPath);
    void OutputFolder(const wchar_t* pTitle, const std::wstring& sDirPath);
    HRESULT OutputVlmFileList(const std::wstring& sRepositoryDirPath, const std::wstring& sNuvexDirPath,
                              const std::wstring& sOutDirPath);

    // A failure that stands in the report as well as in the log; the second form throws it. The format's last
    // conversion is the code.
    template <typename... Args>
    void Tell(const CFunctionLog& log, HRESULT hr, CFormat<Args..., HRESULT> format, const Args&... args)
    {
        WriteLine<Args..., HRESULT>(format, args..., hr);
        log.Warning<Args..., HRESULT>(format, args..., hr);
    }
    template <typename... Args>
    void CheckTelling(const CFunctionLog& log, HRESULT hr, CFormat<Args..., HRESULT> format, const Args&... args)
    {
        if (SUCCEEDED(hr))
            return;
        WriteLine<Args..., HRESULT>(format, args..., hr);
        log.ThrowCode<Args...>(hr, format, args...);
    }

    CProgressClient m_Progress;
};
