// What the tests of the collectors share: version resources without files, and registry roots without the PC's own.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "support/ImportPatch.h"
#include "support/ScratchKey.h"

// A version resource as a linker writes it: the fixed version and, for each translation, its strings.
struct CTranslationStrings
{
    WORD wLanguage;
    std::vector<std::pair<std::wstring, std::wstring>> Strings;
};
std::vector<BYTE> VersionBlock(DWORD dwMS, DWORD dwLS, const std::vector<CTranslationStrings>& Translations = {});

// Answers for the version calls, by file name; a file that is not in it has no resource. One at a time.
class CFakeVersions
{
public:
    CFakeVersions();
    ~CFakeVersions();
    std::map<std::wstring, std::vector<BYTE>> Files;
    bool bReadFails = false; // the size is told, the data are not
    int nAsked = 0;          // how often a file was opened for its version

private:
    static DWORD WINAPI Size(LPCWSTR pPath, LPDWORD);
    static BOOL WINAPI Read(LPCWSTR pPath, DWORD, DWORD dwSize, LPVOID pData);
    const std::vector<BYTE>* Find(LPCWSTR pPath) const;

    CImportPatch<decltype(::GetFileVersionInfoSizeW)> m_Size{ "GetFileVersionInfoSizeW", Size };
    CImportPatch<decltype(::GetFileVersionInfoW)> m_Read{ "GetFileVersionInfoW", Read };
};

// HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER as this process sees them, empty at first. Keys are made before Enter.
class CFakeRoots
{
public:
    ~CFakeRoots();
    CScratchKey& Machine(const std::wstring& sPath) { return m_Keys.emplace_back(L"kelvarin-tests\\LM\\" + sPath); }
    CScratchKey& User(const std::wstring& sPath) { return m_Keys.emplace_back(L"kelvarin-tests\\CU\\" + sPath); }
    void Enter();

private:
    CScratchKey m_Parent{ L"kelvarin-tests" };
    CScratchKey m_Machine{ L"kelvarin-tests\\LM" };
    CScratchKey m_User{ L"kelvarin-tests\\CU" };
    std::deque<CScratchKey> m_Keys;
};

// Compares with the file of that name in tests/data/collect, in which "$" stands for the folder and a line ends in LF.
void ExpectGolden(const std::string& sActual, const wchar_t* pName, const std::wstring& sFolder);
// The same for log records, one a line.
void ExpectGolden(const std::vector<std::string>& Records, const wchar_t* pName, const std::wstring& sFolder);
