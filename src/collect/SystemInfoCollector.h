// The system: Windows.txt, what the system's own two report tools say, and the services, processes and network.
#pragma once

#include <string>

#include "app/ProgressClient.h"
#include "log/ResultLog.h"

class CSystemInfoCollector : private CResultLog
{
public:
    CSystemInfoCollector();

    // bSilent leaves out the report tool that shows a window. Only a folder or a report that cannot be made is a
    // failure of the whole.
    HRESULT Collect(const std::wstring& sOutDirPath, bool bSilent);

private:
    HRESULT ExecuteSystemInfo(const std::wstring& sSystemDirPath, const std::wstring& sOutDirPath);
    HRESULT ExecuteMsInfo32(const std::wstring& sOutDirPath);
    void OutputSections(const CFunctionLog& log);
    void BeginSection(UINT32 nPosition, const wchar_t* pProgressText, const wchar_t* pTitle);

    HRESULT OutputOSVersion();
    HRESULT OutputLanguage();
    HRESULT OutputTimeInfo();
    HRESULT OutputWinInstallerVer();
    HRESULT OutputDirectXVersion();
    HRESULT OutputMP3DecoderVersion();
    HRESULT OutputMSXMLVersion();
    HRESULT OutputMicrosoftHotfix();
    HRESULT OutputFileVersion(const std::wstring& rcFileName, const std::wstring& rcFilePath);

    CProgressClient m_Progress;
};
