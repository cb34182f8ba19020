// Copies of the product's log files, from everywhere where it writes some.
#pragma once

#include <span>
#include <string>

#include "app/ProgressClient.h"

class CLogCollector
{
public:
    CLogCollector();

    // bSxS leaves the installer's logs out. Only a folder that cannot be made is a failure. The order of the steps
    // counts: a later file of the same name overwrites an earlier one.
    HRESULT Collect(const std::wstring& sRepositoryDirPath, const std::wstring& sNuvexDirPath, bool bSxS,
                    const std::wstring& sOutDirPath);

private:
    // Copies the files that match, each named by sPrefix and its own name. A file that cannot be copied costs itself.
    static HRESULT CopyFiles(const std::wstring& sTargetDirPath, const std::wstring& sSourceDirPath,
                             std::span<const wchar_t* const> Patterns, const std::wstring& sPrefix);
    static HRESULT CollectLogFileFromRepository(const std::wstring& sRepositoryDirPath,
                                                const std::wstring& sOutDirPath);
    static HRESULT CollectLogFileFromNuvex(const std::wstring& sNuvexDirPath, const std::wstring& sOutDirPath);
    static HRESULT CollectLogFileFromAppData(const std::wstring& sOutDirPath);
    static HRESULT CollectInstallerLog(const std::wstring& sInstallerDirPath);
    static HRESULT CollectLogFileFromDesktop(const std::wstring& sOutDirPath);

    CProgressClient m_Progress;
};
