// Verifies the manifest's files: existence, version, size, loading, signer, digest.
#pragma once

#include <string>
#include <vector>

#include "app/ProgressClient.h"
#include "config/ConfigFile.h"

class CFunctionLog;
class CResultLog;

class CFileInfoChecker
{
public:
    // Both are borrowed.
    CFileInfoChecker(CResultLog& rResultLog, const std::vector<CFileInfo>& rInfos);

    // Checks all records, one line for each in the result file; gives the number of failed ones.
    HRESULT CheckFileInfos(UINT32* pulFailed);

private:
    class COpenFile;

    HRESULT CheckFileInfo(const CFileInfo& rInfo);
    void CheckExistence(const CFunctionLog& log, const CFileInfo& rInfo);
    void CheckVersion(const CFunctionLog& log, const CFileInfo& rInfo);
    void CheckSize(const CFunctionLog& log, const CFileInfo& rInfo, COpenFile& rFile);
    bool CheckLoading(const CFunctionLog& log, const CFileInfo& rInfo);
    void CheckCertificate(const CFunctionLog& log, const CFileInfo& rInfo);
    void CheckHash(const CFunctionLog& log, const CFileInfo& rInfo, COpenFile& rFile);

    HRESULT GetFileVersion(const CFileInfo& rInfo, std::wstring& rsVersion);
    HRESULT GetTvmFileVersion(const CFileInfo& rInfo, std::wstring& rsVersion);
    HRESULT GetFileSize(COpenFile& rFile, std::wstring& rsSize);
    HRESULT CompareSha(COpenFile& rFile, const std::string& sExpected);

    CResultLog& m_rResultLog;
    const std::vector<CFileInfo>& m_rInfos;
    CProgressClient m_Progress;
};
