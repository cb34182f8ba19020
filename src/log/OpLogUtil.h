// The facade of the log system: makes it on first use from the configuration.
#pragma once

#include <atomic>
#include <string>

#include "log/LogInterfaces.h"

namespace opLogSys
{
class CLogSystem;
}

class COpLogUtil
{
public:
    // What the facade must be told.
    class IConfig
    {
    public:
        virtual std::wstring GetName() = 0;
        virtual std::wstring GetXmlPath() = 0;
        virtual std::wstring GetErrorLogPath() = 0;
        virtual DWORD GetErrorLogLimit() = 0;       // bytes
        virtual std::wstring GetRegistryPath() = 0; // below HKEY_LOCAL_MACHINE
        virtual std::wstring GetTitle() = 0;
        virtual opLogSys::Encoding GetEncoding() = 0;

    protected:
        ~IConfig() = default;
    };

    class COpLogImp
    {
    public:
        explicit COpLogImp(COpLogUtil* pFacade) : m_pFacade(pFacade) {}
        virtual opLogSys::CLogSystem* GetLogSystem();
        // Offered to whoever debugs the program; nothing in it acts on them.
        virtual bool EnableBreakForAssert();
        virtual bool EnableBreakForWarning();
        virtual bool EnableBreakForThrow();
        virtual bool EnableBreakForError();
        virtual bool EnableBreakForJudge();
        // True when the filter has entries.
        virtual bool IsLogOn();
        virtual ~COpLogImp() = default;

    private:
        bool EnableBreak(const wchar_t* pValueName);
        COpLogUtil* m_pFacade;
    };

    explicit COpLogUtil(IConfig& rConfig);
    ~COpLogUtil();
    COpLogUtil(const COpLogUtil&) = delete;
    COpLogUtil& operator=(const COpLogUtil&) = delete;

    COpLogImp& Imp() { return m_Imp; }

    // The process's own facade, and its log system: the one call that all logging makes. Throws the HRESULT of a
    // failed error-log folder to its first caller; the others get a log system without an error log. Null when the
    // process is at its end and the facade is gone.
    static COpLogUtil& GetInstance();
    static opLogSys::CLogSystem* GetLogSystem();

private:
    opLogSys::CLogSystem* MakeLogSystem();

    opLogSys::Common::CCriticalSection m_Lock;
    std::atomic<opLogSys::CLogSystem*> m_pLogSystem{ nullptr };
    IConfig& m_rConfig;
    COpLogImp m_Imp;
};
