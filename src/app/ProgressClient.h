// A client of the progress dialog, for whoever reports progress: the one road there from the rooms below.
#pragma once

#include <string>

#include "platform/Win32.h"

class CProgressClient
{
public:
    // Registers with the application's dialog: what nRange means is the client's own affair. sText stands for an empty
    // text in Update.
    CProgressClient(const std::wstring& sName, UINT32 nRange, const std::wstring& sText);

    void Update(UINT32 nPosition, const std::wstring& sText) const;

private:
    std::wstring m_sName;
};
