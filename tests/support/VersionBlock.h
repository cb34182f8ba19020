// Version resources for files that have none.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/Win32.h"

// A version resource as a linker writes it: for each translation its strings.
struct CTranslationStrings
{
    WORD wLanguage;
    std::vector<std::pair<std::wstring, std::wstring>> Strings;
};
std::vector<BYTE> VersionBlock(const std::vector<CTranslationStrings>& Translations);
