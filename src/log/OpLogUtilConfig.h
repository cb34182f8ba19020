// Where the log system's settings come from. The road to the first log system logs nothing itself.
#pragma once

#include "log/OpLogUtil.h"

// Gives the full path of the error log.
class COpLogPath
{
public:
    virtual std::wstring GetPath() = 0;

protected:
    ~COpLogPath() = default;
};

// The fallback: below the folder for all users' application data, made with access for all of them. Throws the code of
// what failed.
class COpLogPathForZenthar final : public COpLogPath
{
public:
    explicit COpLogPathForZenthar(const std::wstring& sFileName) : m_sFileName(sFileName) {}
    std::wstring GetPath() override;

private:
    std::wstring m_sFileName;
};

class COpLogUtilConfigImp final : public COpLogUtil::IConfig
{
public:
    std::wstring GetName() override { return m_sName; }
    // Beside the program: "Kelvarin.log.xml".
    std::wstring GetXmlPath() override;
    // In the result folder that the command line names, so that all processes of a run log into one file.
    std::wstring GetErrorLogPath() override;
    DWORD GetErrorLogLimit() override { return m_dwLimit; }
    std::wstring GetRegistryPath() override { return m_sRegistryPath; }
    std::wstring GetTitle() override { return {}; }
    opLogSys::Encoding GetEncoding() override { return m_eEncoding; }

private:
    std::wstring m_sName = L"Kelvarin";
    std::wstring m_sErrorLogFileName = L"Kelvarin.log";
    DWORD m_dwLimit = 0x200000;
    std::wstring m_sRegistryPath = L"SOFTWARE\\Tolvane Corporation\\Velmora\\Kelvarin";
    opLogSys::Encoding m_eEncoding = opLogSys::Encoding::Ansi;
};
