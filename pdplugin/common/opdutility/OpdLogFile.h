// The line writer under the name that collectors use for listings and comma-separated files. No header.
#pragma once

#include <string>

#include "log/LineWriter.h"

class COpdLogFile : public CLineWriter
{
public:
    COpdLogFile();
    // Creates or empties the file.
    HRESULT Open(const std::wstring& sPath);
    // The same for a step that cannot go on without the file: throws, with its record.
    void OpenOrThrow(const CFunctionLog& log, const std::wstring& sPath);
};
