#include "check/ComObjectChecker.h"

#include <utility>

#include "check/ComRegistration.h"
#include "opdutility/ModuleSnapshot.h"
#include "opdutility/OpdFileHelper.h"
#include "opdutility/OpdThread.h"
#include "platform/GuidText.h"
#include "platform/HResult.h"
#include "platform/Table.h"
#include "platform/Text.h"

namespace
{

constexpr CNameRow<DWORD> ApartmentNames[] = {
    { COINIT_MULTITHREADED, L"MTA" },
    { COINIT_APARTMENTTHREADED, L"STA" },
    { COINIT_DISABLE_OLE1DDE, L"DISABLE_OLE1DDE" },
    { COINIT_SPEED_OVER_MEMORY, L"SPEED_OVER_MEMORY" },
};

// A manifest's word for a server whose place does not matter.
constexpr const wchar_t* Anywhere = L"ANYWHERE";

// Both paths in the form that comparisons use; a path that has none equals nothing.
bool IsSamePath(const std::wstring& sLeft, const std::wstring& sRight)
{
    std::wstring sAbsoluteLeft, sAbsoluteRight;
    return SUCCEEDED(COpdFileHelper::GetAbsolutePath(sLeft, sAbsoluteLeft)) &&
           SUCCEEDED(COpdFileHelper::GetAbsolutePath(sRight, sAbsoluteRight)) &&
           EqualsNoCase(sAbsoluteLeft, sAbsoluteRight);
}

} // namespace

CComInfoChecker::CComObjectChecker::CComObjectChecker(CResultLog& rResultLog, std::set<std::wstring>& rModules,
                                                      DWORD dwApartment, const CComObjectInfo& rInfo)
    : m_rResultLog(rResultLog),
      m_rModules(rModules),
      m_dwApartment(dwApartment),
      m_rInfo(rInfo)
{
}

const wchar_t* CComInfoChecker::CComObjectChecker::ApartmentText(DWORD dwApartment)
{
    return NameOf(ApartmentNames, dwApartment, L"");
}

HRESULT CComInfoChecker::CComObjectChecker::CheckComObject(UINT32* pulFailed)
{
    CFunctionLog log;
    return log.Run([&] {
        *pulFailed = 0;
        const auto pThread = OpdBeginThread(this, &CComObjectChecker::MainThread);
        if (pThread == nullptr)
            EndTest(log, E_FAIL, L"Failed: BeginThread() failed.");
        // No message pump: this thread makes no COM calls while it waits.
        pThread->WaitThread(INFINITE);
        *pulFailed = m_nFailed;
    });
}

unsigned CComInfoChecker::CComObjectChecker::MainThread()
{
    CFunctionLog log;
    try
    {
        if (m_rInfo.nRegType == CComObjectInfo::RegType_Normal || m_rInfo.nRegType == CComObjectInfo::RegType_Sxs)
            CheckObject();
        else if (m_rInfo.nRegType == CComObjectInfo::RegType_SxsDummy)
            CheckObjectForSxSDummy();
        else
            CountFailure(L"Failed: Unknown com-reg-type.");
    }
    catch (...)
    {
        LogFailure(log, L"Failed: Unknown exception.[%s][name:\"%s\"]", ApartmentText(m_dwApartment), m_rInfo.sName);
    }
    return log.Result(static_cast<unsigned>(-1));
}

template <typename Test>
HRESULT CComInfoChecker::CComObjectChecker::WithObject(Test fTest)
{
    const COpdComInit apartment(m_dwApartment);
    if (!StartApartment(apartment, m_dwApartment))
        return apartment.GetResult();
    CObjectRef<IUnknown> pObject;
    const HRESULT hr = fTest(pObject);
    pObject.Release();
    return hr;
}

HRESULT CComInfoChecker::CComObjectChecker::CheckObject()
{
    CFunctionLog log;
    return log.Run([&] {
        return WithObject([&](CObjectRef<IUnknown>& rObject) {
            const HRESULT hr = CFunctionLog::Try([&] { TestObject(log, rObject); });
            // While the object lives, so that the set holds what it has pulled in.
            ScanModules();
            Revoke();
            return hr;
        });
    });
}

void CComInfoChecker::CComObjectChecker::TestObject(const CFunctionLog& log, CObjectRef<IUnknown>& rObject)
{
    HRESULT hr = m_pGit.Create(CLSID_StdGlobalInterfaceTable, IID_IGlobalInterfaceTable);
    if (FAILED(hr))
        EndTest(log, hr, L"Failed: CoCreateInstance(GIT) failed.[0x%08X]", hr);
    hr = rObject.Create(m_rInfo.clsid, IID_IUnknown);
    if (FAILED(hr))
        EndTest(log, hr, L"Failed: CoCreateInstance() failed.[0x%08X][%s][name:\"%s\" %s]", hr,
                ApartmentText(m_dwApartment), m_rInfo.sName, TextOfGuid(m_rInfo.clsid));
    if (m_rInfo.bAllApartments)
        AskAcross(log, rObject);
    else
        AskHere(log, rObject);
    if (m_rInfo.nRegType == CComObjectInfo::RegType_Sxs)
        CheckNotRegistered(log);
    if (m_nFailed == 0)
        m_rResultLog.WriteLine(L"Succeeded: Check COM Object Info. [%s][name:\"%s\"]", ApartmentText(m_dwApartment),
                               m_rInfo.sName);
}

// From both kinds of apartment, one after the other, the MTA first whatever this one is.
void CComInfoChecker::CComObjectChecker::AskAcross(const CFunctionLog& log, const CObjectRef<IUnknown>& rObject)
{
    const HRESULT hr = CallObject(
        [&] { return m_pGit->RegisterInterfaceInGlobal(rObject.Get(), IID_IUnknown, &m_dwCookie); });
    if (FAILED(hr))
        EndTest(log, hr, L"Failed: RegisterInterfaceInGlobal() failed.[0x%08X][%s]", hr, ApartmentText(m_dwApartment));
    // The names of the threads stand crosswise in the two texts; scripts know them so.
    RunAsking(log, &CComObjectChecker::CheckInterfaceMTA, L"CheckInterfaceMTA", L"pThreadSTA");
    RunAsking(log, &CComObjectChecker::CheckInterfaceSTA, L"CheckInterfaceSTA", L"pThreadMTA");
}

void CComInfoChecker::CComObjectChecker::RunAsking(const CFunctionLog& log, unsigned (CComObjectChecker::*pBody)(),
                                                   const wchar_t* pBodyName, const wchar_t* pThreadName)
{
    const auto pThread = OpdBeginThread(this, pBody);
    if (pThread == nullptr)
        EndTest(log, E_FAIL, L"Failed: BeginThread( %s ) failed.", pBodyName);
    // In an STA the other thread's calls arrive as messages at this very thread.
    const HRESULT hr = pThread->WaitThreadWithMessagePump(INFINITE);
    if (FAILED(hr))
        EndTest(log, hr, L"%s->WaitThreadWithMessagePump() failed.[0x%08X]", pThreadName, hr);
}

void CComInfoChecker::CComObjectChecker::AskHere(const CFunctionLog& log, const CObjectRef<IUnknown>& rObject)
{
    for (const auto& [sName, iid] : m_rInfo.Interfaces)
    {
        CObjectRef<IUnknown> pInterface;
        const HRESULT hr = pInterface.Query(rObject, iid);
        pInterface.Release();
        if (FAILED(hr))
            LogFailure(log, L"Failed: QueryInterface() failed.[0x%08X][%s][clsid:\"%s\" %s, iid:\"%s\" %s]", hr,
                       ApartmentText(m_dwApartment), m_rInfo.sName, TextOfGuid(m_rInfo.clsid), sName, TextOfGuid(iid));
    }
}

// A side-by-side object must work, but must not be registered from its own file.
void CComInfoChecker::CComObjectChecker::CheckNotRegistered(const CFunctionLog& log)
{
    if (EqualsNoCase(m_rInfo.sFilePath, Anywhere))
        return;
    if (IsSamePath(GetComRegFilePath(), m_rInfo.sFilePath))
        EndTest(log, E_FAIL, L"Failed: \"%s\" registered.", m_rInfo.sName);
}

void CComInfoChecker::CComObjectChecker::Revoke()
{
    if (m_dwCookie != 0)
        CallObject([this] { return m_pGit->RevokeInterfaceFromGlobal(std::exchange(m_dwCookie, 0u)); });
    m_pGit.Release();
}

// For a class that only a side-by-side manifest may provide: from here its creation must fail, whatever the code.
HRESULT CComInfoChecker::CComObjectChecker::CheckObjectForSxSDummy()
{
    CFunctionLog log;
    return log.Run([&] {
        return WithObject([&](CObjectRef<IUnknown>& rObject) {
            return CFunctionLog::Try([&] {
                // By the platform's own code: success without an object is no absence.
                HRESULT hr = E_UNEXPECTED;
                rObject.Fill([&](void** ppObject) {
                    return hr = ::CoCreateInstance(m_rInfo.clsid, nullptr, CLSCTX_ALL, IID_IUnknown, ppObject);
                });
                if (SUCCEEDED(hr))
                    EndTest(log, E_FAIL, L"Failed: CoCreateInstance() succeeded.[%s][name:\"%s\" %s]",
                            ApartmentText(m_dwApartment), m_rInfo.sName, TextOfGuid(m_rInfo.clsid));
                CheckNotRegistered(log);
            });
        });
    });
}

unsigned CComInfoChecker::CComObjectChecker::CheckInterfaceSTA()
{
    CFunctionLog log;
    return CheckInterfaceCatching(log, COINIT_APARTMENTTHREADED);
}

unsigned CComInfoChecker::CComObjectChecker::CheckInterfaceMTA()
{
    CFunctionLog log;
    return CheckInterfaceCatching(log, COINIT_MULTITHREADED);
}

unsigned CComInfoChecker::CComObjectChecker::CheckInterfaceCatching(CFunctionLog& log, DWORD dwApartment)
{
    try
    {
        return log.Result(static_cast<unsigned>(CheckInterface(dwApartment)));
    }
    catch (...)
    {
        LogFailure(log, L"Failed: Unknown exception.[%s -> %s][clsid:\"%s\"]", ApartmentText(m_dwApartment),
                   ApartmentText(dwApartment), m_rInfo.sName);
        return log.Result(static_cast<unsigned>(-1));
    }
}

HRESULT CComInfoChecker::CComObjectChecker::CheckInterface(DWORD dwApartment)
{
    CFunctionLog log;
    return log.Run([&]() -> HRESULT {
        const COpdComInit apartment(dwApartment);
        if (!StartApartment(apartment, dwApartment))
            return static_cast<HRESULT>(-1);
        AskMarshalled(log, dwApartment);
        return S_OK;
    });
}

void CComInfoChecker::CComObjectChecker::AskMarshalled(const CFunctionLog& log, DWORD dwApartment)
{
    const wchar_t* const pFrom = ApartmentText(m_dwApartment);
    const wchar_t* const pTo = ApartmentText(dwApartment);
    CObjectRef<IUnknown> pObject;
    const HRESULT hrObject = pObject.Fill(
        [&](void** ppObject) { return m_pGit->GetInterfaceFromGlobal(m_dwCookie, IID_IUnknown, ppObject); });
    // Not counted: "Succeeded: Check COM Object Info." follows this line, and always has.
    if (FAILED(hrObject))
        FailEntry(log, m_rResultLog, hrObject, L"Failed: GetInterfaceFromGlobal() failed.[0x%08X]", hrObject);
    for (const auto& [sName, iid] : m_rInfo.Interfaces)
    {
        CObjectRef<IUnknown> pInterface;
        const HRESULT hr = pInterface.Query(pObject, iid);
        pInterface.Release();
        if (FAILED(hr))
            LogFailure(log, L"Failed: QueryInterface() failed.[0x%08X][%s -> %s][clsid:\"%s\" %s, iid:\"%s\" %s]", hr,
                       pFrom, pTo, m_rInfo.sName, TextOfGuid(m_rInfo.clsid), sName, TextOfGuid(iid));
        else
            m_rResultLog.WriteLine(L"Succeeded: Check Interface. [%s -> %s][clsid:\"%s\" iid:\"%s\"]", pFrom, pTo,
                                   m_rInfo.sName, sName);
    }
    pObject.Release();
}

bool CComInfoChecker::CComObjectChecker::StartApartment(const COpdComInit& rApartment, DWORD dwApartment)
{
    if (FAILED(rApartment.GetResult()))
        CountFailure(L"Failed: CoInitializeEx( %s ) failed.[0x%08X]", ApartmentText(dwApartment),
                     rApartment.GetResult());
    return SUCCEEDED(rApartment.GetResult());
}

// Empty when the registry holds no path for the class.
std::wstring CComInfoChecker::CComObjectChecker::GetComRegFilePath() const
{
    const CFunctionLog log;
    return RegisteredServer(m_rInfo.clsid).value_or(std::wstring());
}

void CComInfoChecker::CComObjectChecker::ScanModules()
{
    const CFileHandle hSnapshot = ModuleSnapshot(::GetCurrentProcessId());
    if (!hSnapshot)
    {
        m_rResultLog.WriteLine(L"CreateToolhelp32Snapshot() failed.[0x%08X]", LastErrorResult());
        return;
    }
    MODULEENTRY32W Entry{};
    Entry.dwSize = sizeof Entry;
    if (!::Module32FirstW(hSnapshot.Get(), &Entry))
    {
        m_rResultLog.WriteLine(L"Module32First() failed.[0x%08X]", LastErrorResult());
        return;
    }
    do
        m_rModules.insert(Entry.szExePath);
    while (::Module32NextW(hSnapshot.Get(), &Entry));
}
