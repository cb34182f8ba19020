// The interfaces of the log system. The outputs behind them are chosen at run time by Kelvarin.log.xml.
#pragma once

#include <atomic>
#include <exception>
#include <string>
#include <utility>

#include "platform/HResult.h"
#include "platform/Lock.h"
#include "platform/Win32.h"

namespace opLogSys
{

// Reference counting: a new object starts at 1 and deletes itself at 0.
class IReference
{
public:
    virtual ~IReference() = default;
    virtual LONG AddRef() = 0;
    virtual LONG Release() = 0;
};

class ILockObject
{
public:
    virtual void Lock() = 0;
    virtual void Unlock() = 0;

protected:
    ~ILockObject() = default;
};

// One writer of log lines: a thread's trace, or the error log.
class ILog : public IReference
{
public:
    // Raise and lower the indentation.
    virtual LONG Enter() = 0;
    virtual LONG Leave() = 0;
    // One line, with the given local time or the present one.
    virtual void WriteAt(const SYSTEMTIME& rTime, const wchar_t* pText) = 0;
    virtual void WriteNow(const wchar_t* pText) = 0;
    // Lines between the two stay together. The error log needs no groups: each of its lines stands for itself.
    virtual LONG BeginGroup() = 0;
    virtual LONG EndGroup() = 0;
    virtual DWORD GetThreadId() = 0;
};

// Where the bytes go. Open and Close bracket what must stay together; both give the number of open users where that
// means anything.
class ILogIO : public IReference
{
public:
    virtual LONG Open() = 0;
    virtual LONG Close() = 0;
    virtual void WriteLine(const wchar_t* pText) = 0;
    virtual void WriteText(const wchar_t* pText) = 0;
    virtual void Flush() = 0;
};

class ILogFilter : public IReference
{
public:
    // 0 when the pair passes, 0x80004005 when not.
    virtual HRESULT IsTarget(const std::wstring& sSubject, LONG nLevel) = 0;
    // 0 when there is at least one filter, 0x80004005 when there is none.
    virtual HRESULT HasEntries() = 0;
};

// Text encodings of a log.
enum class Encoding : DWORD
{
    Ansi = 1,
    Utf8 = 2
};

class IOutputLogSystemFactory : public IReference
{
public:
    // Each returns a new object whose one reference the caller owns.
    virtual ILogIO* CreateOutput(const std::wstring& sSubject, Encoding eEncoding) = 0;
    virtual ILog* CreateLog(DWORD dwThreadId, ILogIO* pOutput) = 0;
    virtual ILog* CreateErrorLog(ILogIO* pOutput) = 0;
};

class ILogSysInfo
{
public:
    // Both add a reference for the caller.
    virtual IOutputLogSystemFactory* GetFactory() = 0;
    virtual ILogFilter* GetFilter() = 0;
    virtual ~ILogSysInfo() = default;
    virtual LONG AddRef() = 0;
    virtual LONG Release() = 0;
};

// Logging never fails its caller: where there is no memory or no lock for a line, the line is lost.
template <typename Action>
void Quietly(const Action& action) noexcept
{
    try
    {
        action();
    }
    catch (const std::exception&) // NOLINT(bugprone-empty-catch)
    {
    }
    catch (HRESULT) // NOLINT(bugprone-empty-catch)
    {
    }
}

namespace Common
{

// Carries the count for a class that implements one of the interfaces above.
template <typename Interface>
class CReferenceCounted : public Interface
{
public:
    LONG AddRef() override { return ::InterlockedIncrement(&m_nReferences); }
    LONG Release() override
    {
        const LONG nLeft = ::InterlockedDecrement(&m_nReferences);
        if (nLeft == 0)
            delete this;
        return nLeft;
    }

private:
    LONG m_nReferences = 1;
};

// Smart pointer: adds a reference when it takes one from another holder and releases when it drops one.
template <typename T>
class CReference
{
public:
    CReference() = default;
    explicit CReference(T* pObject) : m_pObject(pObject)
    {
        if (m_pObject != nullptr)
            m_pObject->AddRef();
    }
    CReference(const CReference& other) : CReference(other.m_pObject) {}
    CReference& operator=(CReference other) noexcept
    {
        std::swap(m_pObject, other.m_pObject);
        return *this;
    }
    ~CReference()
    {
        if (m_pObject != nullptr)
            m_pObject->Release();
    }

    // Takes over a reference that the caller owns, such as a new object's first one.
    static CReference Own(T* pObject)
    {
        CReference reference;
        reference.m_pObject = pObject;
        return reference;
    }

    T* Get() const { return m_pObject; }
    T* operator->() const { return m_pObject; }
    explicit operator bool() const { return m_pObject != nullptr; }

private:
    T* m_pObject = nullptr;
};

// CLock as an object of the log system's own kind, which its outputs are given.
class CCriticalSection final : public ILockObject
{
public:
    void Lock() override { m_Lock.Lock(); }
    void Unlock() override { m_Lock.Unlock(); }

private:
    CLock m_Lock;
};

// ILogIO's Open and Close as a scope.
class COutputScope
{
public:
    explicit COutputScope(ILogIO& rOutput) : m_rOutput(rOutput) { m_rOutput.Open(); }
    ~COutputScope() { m_rOutput.Close(); }
    COutputScope(const COutputScope&) = delete;
    COutputScope& operator=(const COutputScope&) = delete;

private:
    ILogIO& m_rOutput;
};

// ILog's BeginGroup and EndGroup as a scope. A group holds the output: it must end even where a line cannot be made.
class CGroupScope
{
public:
    explicit CGroupScope(ILog& rLog) : m_rLog(rLog)
    {
        const CLastErrorKeeper keeper;
        m_rLog.BeginGroup();
    }
    ~CGroupScope()
    {
        const CLastErrorKeeper keeper;
        m_rLog.EndGroup();
    }
    CGroupScope(const CGroupScope&) = delete;
    CGroupScope& operator=(const CGroupScope&) = delete;

private:
    ILog& m_rLog;
};

} // namespace Common
} // namespace opLogSys
