// COM classes of the sample product's server, registered for one test, and a checker's run over them.
//
// Under Wine 8 a process can serve objects to other apartments from some sixty STAs in all; the next one hangs for
// ever. The tests of one executable have to share these.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "check/CheckRun.h"
#include "check/ComInfoChecker.h"
#include "support/ScratchKey.h"

inline constexpr IID IidPersist{ 0x0000010C, 0x0000, 0x0000, { 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46 } };
// Two interfaces of the sample's objects: one with a proxy of the sample's own, one without any.
inline constexpr IID IidIdentity{ 0x5D0E6B10, 0x3C44, 0x4F0A, { 0x9A, 0x41, 0x7B, 0x1C, 0x2D, 0x9E, 0x60, 0x01 } };
inline constexpr IID IidInner{ 0x5D0E6B10, 0x3C44, 0x4F0A, { 0x9A, 0x41, 0x7B, 0x1C, 0x2D, 0x9E, 0x60, 0x02 } };

using Lines = std::vector<std::string>;

class CComTestClasses
{
public:
    CComTestClasses();
    ~CComTestClasses();
    CComTestClasses(const CComTestClasses&) = delete;
    CComTestClasses& operator=(const CComTestClasses&) = delete;

    // The server's own path, and the number of its objects that are alive.
    static std::wstring ServerPath();
    LONG AliveObjects() const;

    // Registers a new class that behaves as the words say (they stand beside the server's CBehavior); the record asks
    // for IPersist and IVlmIdentity. An empty model: none.
    CComObjectInfo Add(const std::wstring& sName, const std::wstring& sModel, const std::wstring& sBehavior = L"",
                       const std::wstring& sServer = ServerPath(), const std::wstring& sModule = L"");
    // The same as a DirectShow filter's record: one STA, asked there only.
    CComObjectInfo AddFilter(const std::wstring& sName, const std::wstring& sBehavior = L"");
    // A record whose class nobody has registered.
    static CComObjectInfo Unregistered(const std::wstring& sName);

private:
    HMODULE m_hServer;
    CScratchKey m_Proxy, m_ProxyServer, m_Interface, m_InterfaceProxy;
    std::vector<std::unique_ptr<CScratchKey>> m_Keys;
};

// Runs the checker on a thread of its own, while this one, the process's first STA, dispatches messages, as in the
// program. Classes without a threading model live here. The lists go to sListFolder, or are thrown away.
CCheckRun RunComCheck(const std::vector<CComObjectInfo>& rInfos, bool bSxS = false,
                      const std::wstring& sListFolder = L"");

// The lines that tell of the record; hr is the code that they hold.
std::string Worked(const std::string& sApartment, const CComObjectInfo& rInfo);
std::string NotCreated(const std::string& sApartment, const CComObjectInfo& rInfo, HRESULT hr);
// sWay: "MTA -> STA", or "STA" where only the creating apartment asks.
std::string Threw(const std::string& sWay, const CComObjectInfo& rInfo);
std::string Refused(const std::string& sWay, const CComObjectInfo& rInfo, const std::wstring& sInterface, HRESULT hr);
std::string Answered(const std::string& sWay, const CComObjectInfo& rInfo, const std::wstring& sInterface);
// All lines of one run in which every interface answers, to the success line.
Lines AllWell(const std::string& sApartment, const CComObjectInfo& rInfo);
Lines AllWell(const CComObjectInfo& rInfo);
Lines operator+(Lines left, const Lines& rRight);
