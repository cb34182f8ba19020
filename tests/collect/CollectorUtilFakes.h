// What the tests of the collectors share: version resources and times without files, and registry roots without the
// PC's own.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "support/ImportPatch.h"
#include "support/ScratchKey.h"

// A version resource as a linker writes it: for each translation its strings.
struct CTranslationStrings
{
    WORD wLanguage;
    std::vector<std::pair<std::wstring, std::wstring>> Strings;
};
std::vector<BYTE> VersionBlock(const std::vector<CTranslationStrings>& Translations);

// Answers for the version calls, by file name; a file that is not in it has no resource. One at a time.
class CFakeVersions
{
public:
    CFakeVersions() { s_pVersions = this; }
    std::map<std::wstring, std::vector<BYTE>> Files;

private:
    static DWORD WINAPI Size(LPCWSTR pPath, LPDWORD);
    static BOOL WINAPI Read(LPCWSTR pPath, DWORD, DWORD dwSize, LPVOID pData);

    static inline CFakeVersions* s_pVersions = nullptr;
    CImportPatch<decltype(::GetFileVersionInfoSizeW)> m_Size{ "GetFileVersionInfoSizeW", Size };
    CImportPatch<decltype(::GetFileVersionInfoW)> m_Read{ "GetFileVersionInfoW", Read };
};

FILETIME FileTimeOf(const SYSTEMTIME& rLocal);

// Every file: made 2013/01/02 03:04:05, read 2013/12/31 23:59:58, written 2014/07/08 09:10:11.
class CFakeFileTimes
{
    static BOOL WINAPI Times(HANDLE, LPFILETIME pCreation, LPFILETIME pAccess, LPFILETIME pWrite);
    CImportPatch<decltype(::GetFileTime)> m_Times{ "GetFileTime", Times };
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
    CScratchKey m_Parent{ L"kelvarin-tests" }, m_Machine{ L"kelvarin-tests\\LM" }, m_User{ L"kelvarin-tests\\CU" };
    std::deque<CScratchKey> m_Keys;
};

// Compares with the file of that name in tests/data/collect, in which "$" stands for the folder and a line ends in LF.
void ExpectGolden(const std::string& sActual, const wchar_t* pName, const std::wstring& sFolder);
// The same for log records, one a line.
void ExpectGolden(const std::vector<std::string>& Records, const wchar_t* pName, const std::wstring& sFolder);
