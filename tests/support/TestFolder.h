// A folder for one test, made fresh and removed with everything in it.
#pragma once

#include <string>
#include <string_view>

#include "platform/Win32.h"

class CTestFolder
{
public:
    CTestFolder();
    ~CTestFolder();
    CTestFolder(const CTestFolder&) = delete;
    CTestFolder& operator=(const CTestFolder&) = delete;

    const std::wstring& Path() const { return m_sPath; }
    std::wstring operator/(std::wstring_view sName) const { return m_sPath + L'\\' + std::wstring(sName); }

    // A file below the folder with these bytes; gives its path. Folders in the name are made.
    std::wstring Write(std::wstring_view sName, std::string_view sBytes) const;

private:
    std::wstring m_sPath;
};

// The whole file; throws std::runtime_error when it cannot be read.
std::string ReadBytes(const std::wstring& sPath);
// UTF-8, for messages and comparisons.
std::string Utf8(std::wstring_view sText);
