// Golden files: the texts that tests expect, and the documents that they read, below tests/data.
#pragma once

#include <string>
#include <string_view>

#include "support/LogWatch.h"
#include "support/TestFolder.h"

// A document with the folder in the place of each "$".
std::string Document(std::wstring_view sName, const std::wstring& sFolder = L"$");
// A file for each line of a document, which is its path below the folder; the bytes are the mark and the path.
void MakeFiles(const CTestFolder& rFolder, std::wstring_view sName, const std::string& sMark = "");
// Each file below the folder by its name, "== name", with its bytes; a folder without files has its name alone.
std::string FilesBelow(const std::wstring& sFolder);
// What a collector leaves: its files, and its records under "== log".
std::string Outcome(const std::wstring& sFolder, const CLogWatch& rWatch);
// Lines, each with its end.
std::string Joined(const std::vector<std::string>& Lines);

// Compares a text with the golden file, in which "$" stands for the folder, "[banner]" for the time and version at the
// head of a report, LF for CR LF, "<LF>" before an LF alone, and "<E4>" for a byte that is no ASCII. The text that
// differs is left in C:\kelvarin-tests\actual in this form.
void ExpectGolden(std::wstring_view sName, std::string sText, const std::wstring& sFolder);
