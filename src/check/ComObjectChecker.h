// One test run of a COM object: created in one apartment, asked from there or from both.
#pragma once

#include <set>
#include <string>

#include "check/CheckReport.h"
#include "check/ComInfoChecker.h"
#include "platform/ComInit.h"
#include "platform/ObjectRef.h"

class CComInfoChecker::CComObjectChecker
{
public:
    // All are borrowed. dwApartment is COINIT_MULTITHREADED or COINIT_APARTMENTTHREADED. rModules takes the paths of
    // the modules that are loaded while the object lives.
    CComObjectChecker(CResultLog& rResultLog, std::set<std::wstring>& rModules, DWORD dwApartment,
                      const CComObjectInfo& rInfo);

    // Runs the test on a thread of its own and waits for it, without a limit; gives the number of failures found.
    HRESULT CheckComObject(UINT32* pulFailed);

    // "MTA", "STA" and the other words of the apartment flags; empty for anything else.
    static const wchar_t* ApartmentText(DWORD dwApartment);

private:
    // The thread's body, and those of the threads that ask for the object from another apartment. Their exit codes
    // mean nothing.
    unsigned MainThread();
    unsigned CheckInterfaceSTA();
    unsigned CheckInterfaceMTA();

    // Gives a test the place for its object, in an apartment of its own that outlives the object.
    template <typename Test>
    HRESULT WithObject(Test fTest);
    HRESULT CheckObject();
    void TestObject(const CFunctionLog& log, CObjectRef<IUnknown>& rObject);
    void AskAcross(const CFunctionLog& log, const CObjectRef<IUnknown>& rObject);
    void RunAsking(const CFunctionLog& log, unsigned (CComObjectChecker::*pBody)(), const wchar_t* pBodyName,
                   const wchar_t* pThreadName);
    void AskHere(const CFunctionLog& log, const CObjectRef<IUnknown>& rObject);
    void CheckNotRegistered(const CFunctionLog& log);
    void Revoke();

    HRESULT CheckObjectForSxSDummy();
    unsigned CheckInterfaceCatching(CFunctionLog& log, DWORD dwApartment);
    HRESULT CheckInterface(DWORD dwApartment);
    void AskMarshalled(const CFunctionLog& log, DWORD dwApartment);
    bool StartApartment(const COpdComInit& rApartment, DWORD dwApartment);
    std::wstring GetComRegFilePath() const;
    void ScanModules();

    // The ways of a counted failure: a line in the result file, one in the log as well, and one that ends the test
    // proper.
    template <typename... Args>
    void CountFailure(CFormat<Args...> format, const Args&... args)
    {
        ++m_nFailed;
        m_rResultLog.WriteLine<Args...>(format, args...);
    }
    template <typename... Args>
    void LogFailure(const CFunctionLog& log, CFormat<Args...> format, const Args&... args)
    {
        CountFailure<Args...>(format, args...);
        log.Error<Args...>(format, args...);
    }
    template <typename... Args>
    [[noreturn]] void EndTest(const CFunctionLog& log, HRESULT hr, CFormat<Args...> format, const Args&... args)
    {
        ++m_nFailed;
        FailEntry<Args...>(log, m_rResultLog, hr, format, args...);
    }

    CResultLog& m_rResultLog;
    std::set<std::wstring>& m_rModules;
    DWORD m_dwApartment;
    const CComObjectInfo& m_rInfo;
    CObjectRef<IGlobalInterfaceTable> m_pGit;
    DWORD m_dwCookie = 0; // the object's place in the table; 0: none
    UINT32 m_nFailed = 0;
};
