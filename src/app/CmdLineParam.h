// The command line of a run: its mode, its flags and its folders. Nothing here logs: the log system itself asks this
// class where its file lies.
#pragma once

#include <string>
#include <string_view>

#include "platform/Win32.h"

// What the process was started for.
enum ExecMode : UINT32
{
    ExecMode_Main,
    ExecMode_CollectVelmora,
    ExecMode_CollectSystem,
    ExecMode_CollectRegistry,
    ExecMode_CollectApplication,
    ExecMode_CollectInstaller,
    ExecMode_CollectHardware,
    ExecMode_CollectDriver,
    ExecMode_CollectLicense,
    ExecMode_CollectLog,
    ExecMode_CollectAsio,
    ExecMode_CreateBackup,
    ExecMode_CreateHwinfo,
    ExecMode_Count,
};

class CCmdLineParam
{
public:
    ExecMode m_nExecMode = ExecMode_Main;
    bool m_bSilent = false;
    bool m_bSxS = false;

    // The parameters of the command line that the process was started with.
    static CCmdLineParam OfThisProcess();

    // Takes the arguments behind argv[0], each with or without "-" or "/" before it; what is unknown is ignored. The
    // last of two equal switches counts. E_POINTER or E_INVALIDARG when there is no vector or no argument at all.
    HRESULT Parse(const wchar_t* const* argv, int argc);
    // One argument without its prefix character.
    void ParseSwitch(std::wstring_view sText);

    // The effective folders; made when missing. E_UNEXPECTED when there is none. Without a log folder given it is a
    // dated one on the desktop; without a result folder given it is "Log" below the log folder.
    HRESULT GetLogDirPath(std::wstring& rsPath) const;
    HRESULT GetResultDirPath(std::wstring& rsPath) const;

    // The folders as they were given, empty where they were not. A collector's output folder is its log folder.
    const std::wstring& GetOutDirPath() const { return m_sLogDirPath; }
    const std::wstring& GetRepositoryDirPath() const { return m_sRepositoryDirPath; }
    const std::wstring& GetNuvexDirPath() const { return m_sNuvexDirPath; }
    const std::wstring& GetRegistryPath() const { return m_sRegistryPath; }

private:
    void ParsePath(std::wstring_view sText);

    std::wstring m_sFilePath;
    std::wstring m_sLogDirPath;
    std::wstring m_sResultDirPath;
    std::wstring m_sRepositoryDirPath;
    std::wstring m_sNuvexDirPath;
    std::wstring m_sRegistryPath;
};
