// COM classes of the sample product's server, registered for one test, and a checker's run over them.
//
// Wine 8 gives each STA that serves another apartment an endpoint, keeps it for ever and waits for all of them at once,
// for 64 handles at most: the 64th such STA of a process hangs. The tests of one executable have to share these; a
// class with the word "free-threaded" needs none. Wine also keeps a reference to the class factory of an object that
// it creates in another apartment than the caller's.
#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

#include "config/ConfigFile.h"
#include "support/ScratchKey.h"

// Two interfaces of the sample's objects: one with a proxy of the sample's own, one without any.
inline constexpr IID IidIdentity{ 0x5D0E6B10, 0x3C44, 0x4F0A, { 0x9A, 0x41, 0x7B, 0x1C, 0x2D, 0x9E, 0x60, 0x01 } };
inline constexpr IID IidInner{ 0x5D0E6B10, 0x3C44, 0x4F0A, { 0x9A, 0x41, 0x7B, 0x1C, 0x2D, 0x9E, 0x60, 0x02 } };

using ComInfos = std::vector<CComObjectInfo>;

// The fixture: classes that live as long as the test.
class CComTest : public ::testing::Test
{
protected:
    CComTest();
    ~CComTest() override;

    // The server's own path, and the number of its objects that are alive.
    static std::wstring ServerPath();
    LONG AliveObjects() const;

    // Registers a class that behaves as the words say (they stand beside the server's CBehavior); the record asks for
    // IPersist and IVlmIdentity. An empty model: none. The classes of one test are numbered in their ids.
    CComObjectInfo Add(const std::wstring& sName, const std::wstring& sModel, const std::wstring& sBehavior = L"",
                       const std::wstring& sServer = ServerPath(), const std::wstring& sModule = L"");
    // The same as a DirectShow filter's record: one STA, asked there only.
    CComObjectInfo AddFilter(const std::wstring& sName, const std::wstring& sBehavior = L"",
                             const std::wstring& sModule = L"");
    // A record whose class nobody has registered.
    CComObjectInfo Unregistered(const std::wstring& sName);

private:
    // A key with a text, and a threading model unless that is empty, in the key below it.
    CScratchKey& AddKey(const std::wstring& sPath, const wchar_t* pSubKey, const std::wstring& sText,
                        const std::wstring& sModel = L"");

    HMODULE m_hServer;
    BYTE m_nClasses = 0;
    std::deque<CScratchKey> m_Keys;
};

// "number failed" and the lines. Runs the checker on a thread of its own, while this one, the process's first STA,
// dispatches messages, as in the program. Classes without a threading model live here. The lists go to sListFolder, or
// are thrown away.
std::string RunComCheck(const ComInfos& rInfos, bool bSxS = false, const std::wstring& sListFolder = L"");
// Compares that with a golden file of tests/data/check/com.
void ExpectRun(const std::string& sName, const ComInfos& rInfos, bool bSxS = false,
               const std::wstring& sListFolder = L"");
