// Copies of the product's data files, also of those that an upgrade of Windows has put aside.
#pragma once

#include <string>
#include <vector>

#include "app/ProgressClient.h"
#include "log/FunctionLog.h"

class CDrmFilesCollector
{
public:
    CDrmFilesCollector();

    // bSxS adds the folder in the common data. A missing file or folder is no failure. A folder that cannot be made
    // ends the collection.
    HRESULT Collect(const std::wstring& sRepositoryDirPath, const std::wstring& sOutDirPath, bool bSxS);

private:
    // From a folder to the output folder with the suffix behind it.
    struct CCopyJob
    {
        std::wstring sSourceDirPath;
        std::wstring sSuffix;
    };
    static std::vector<CCopyJob> MakeJobs(const CFunctionLog& log, const std::wstring& sRepositoryDirPath, bool bSxS);
    static void AddOldRoots(std::vector<CCopyJob>& rJobs);
    static void RunJob(const CFunctionLog& log, const CCopyJob& rJob, const std::wstring& sOutDirPath);

    CProgressClient m_Progress;
};
