// The log idiom of the whole program. A function opens a scope, runs its body in it, and fails by throwing through it:
//
//     HRESULT CThing::Read(const std::wstring& sPath)
//     {
//         CFunctionLog log;
//         return log.Run([&] {
//             log.Check(Open(sPath), L"Open( \"%s\" ) failed. [0x%08X]", sPath);
//             if (!::SetEndOfFile(m_hFile.Get()))
//                 log.ThrowCode(LastErrorResult(), L"::SetEndOfFile( %s ) failed. [0x%08X]", sPath);
//             if (m_nLines == 0)
//                 log.Throw(E_FAIL, L"no lines in %s", sPath);
//         });
//     }
//
// Run gives the body's result, or the code that was thrown in it; nothing else that a body throws is caught. Only the
// log's own verbs throw, always an HRESULT, always a negative one: a code that is not negative becomes E_FAIL. A helper
// that works for one function takes its log, so that the records carry that function's name.
//
// The scope lines stand in the trace, while Kelvarin.log.xml lets the class pass; the records stand in the error log
// as well, always. Logging does not change the last error.
#pragma once

#include <string>
#include <string_view>
#include <type_traits>

#include "platform/Format.h"
#include "platform/Win32.h"

namespace opLogSys
{
class ILog;
namespace Common
{
class CGroupScope;
}

// What kind of event a record is. The marker is kept in the record; neither stream prints it.
enum class Marker
{
    Assert,    // an unexpected state; the code throws on
    Warning,   // a failure that is reported and ends nothing
    Exception, // a record that writes and throws in one step
    Judge,     // a tolerated outcome of a test
    Error,     // a failure in a clean-up or in one entry of many; also plain progress, which has none of its own
};

struct CRecord
{
    unsigned nLine;
    const char* pFile;
    std::string_view sFunction;
    Marker eMarker;
};

// Writes the record to the error log and to the trace. A null format writes nothing.
void WriteRecord(const CRecord& rRecord, const wchar_t* pFormat, ...);

// Not constexpr on purpose: reaching it ends the compilation.
void this_function_must_give_its_name_itself();

// The function's name as the compiler knows it, without result type and arguments: "CThing::Read".
consteval std::string_view FunctionName(std::string_view sSignature)
{
    // Another compiler's word for an unnamed namespace; static analysis reads the tree with that one.
    constexpr std::string_view sUnnamed = "(anonymous namespace)::";
    if (const auto nUnnamed = sSignature.find(sUnnamed); nUnnamed != sSignature.npos)
        sSignature.remove_prefix(nUnnamed + sUnnamed.size());
    sSignature = sSignature.substr(0, sSignature.find('('));
    const auto nCut = sSignature.rfind(' ');
    sSignature = nCut == sSignature.npos ? sSignature : sSignature.substr(nCut + 1);
    constexpr std::string_view sAnonymous = "{anonymous}::";
    if (sSignature.starts_with(sAnonymous))
        sSignature.remove_prefix(sAnonymous.size());
    if (sSignature.empty() || sSignature.find('{') != sSignature.npos)
        this_function_must_give_its_name_itself();
    return sSignature;
}

// As a default argument it takes the name of the caller.
struct CFunctionName
{
    std::string_view sName;
    consteval CFunctionName(std::source_location where = std::source_location::current())
        : sName(FunctionName(where.function_name()))
    {
    }
    consteval CFunctionName(const char* pName) : sName(pName) {}
};

} // namespace opLogSys

class CFunctionLog
{
public:
    // All scopes have this level.
    static constexpr LONG Level = 10;

    explicit CFunctionLog(opLogSys::CFunctionName function = {}) : m_sFunction(function.sName)
    {
        if (IsTraceOn())
            Enter();
    }
    ~CFunctionLog()
    {
        if (m_pTrace != nullptr)
            Leave();
    }
    CFunctionLog(const CFunctionLog&) = delete;
    CFunctionLog& operator=(const CFunctionLog&) = delete;

    // The body gives an HRESULT, or nothing, which means S_OK. The scope's exit line shows the result.
    template <typename Body>
    HRESULT Run(const Body& body)
    {
        m_bHasResult = true;
        try
        {
            using BodyResult = std::invoke_result_t<const Body&>;
            static_assert(std::is_void_v<BodyResult> || std::is_same_v<BodyResult, HRESULT>,
                          "a body gives an HRESULT or nothing");
            if constexpr (std::is_void_v<BodyResult>)
            {
                body();
                m_hr = S_OK;
            }
            else
                m_hr = body();
        }
        catch (HRESULT hr)
        {
            m_hr = hr;
        }
        return m_hr;
    }

    // The result of a function that gives something else than a result code; for the scope's exit line.
    template <typename T>
    T Result(T value)
    {
        m_bHasResult = true;
        m_hr = (HRESULT)value;
        return value;
    }

    // Run for a body whose failure is dealt with on the spot: a local catch, no result of the scope.
    template <typename Body>
    static HRESULT Try(const Body& body)
    {
        try
        {
            body();
            return S_OK;
        }
        catch (HRESULT hr)
        {
            return hr;
        }
    }

    // Records that end nothing. An assertion does not stop the program.
    template <typename... Args>
    void Assert(CFormat<Args...> format, const Args&... args) const
    {
        Write(opLogSys::Marker::Assert, format, args...);
    }
    template <typename... Args>
    void Warning(CFormat<Args...> format, const Args&... args) const
    {
        Write(opLogSys::Marker::Warning, format, args...);
    }
    template <typename... Args>
    void Error(CFormat<Args...> format, const Args&... args) const
    {
        Write(opLogSys::Marker::Error, format, args...);
    }
    // Plain progress.
    template <typename... Args>
    void Note(CFormat<Args...> format, const Args&... args) const
    {
        Write(opLogSys::Marker::Error, format, args...);
    }
    template <typename... Args>
    void Judge(CFormat<Args...> format, const Args&... args) const
    {
        Write(opLogSys::Marker::Judge, format, args...);
    }

    // Records that throw hr afterwards. Fail is the form for an unexpected state ("assert"), Throw that for all else.
    template <typename... Args>
    [[noreturn]] void Fail(HRESULT hr, CFormat<Args...> format, const Args&... args) const
    {
        Write(opLogSys::Marker::Assert, format, args...);
        Throw(hr);
    }
    template <typename... Args>
    [[noreturn]] void Throw(HRESULT hr, CFormat<Args...> format, const Args&... args) const
    {
        Write(opLogSys::Marker::Exception, format, args...);
        Throw(hr);
    }
    // Throws a failed hr with a record whose last conversion is the code; does nothing on success.
    template <typename... Args>
    void Check(HRESULT hr, CFormat<Args..., HRESULT> format, const Args&... args) const
    {
        if (FAILED(hr))
            FailCode<Args...>(hr, format, args...);
    }
    // Fail and Throw for a message that ends with the code: hr is the format's last argument. Where hr is made of the
    // last error, the others are plain variables: a call among them could come first and change it.
    template <typename... Args>
    [[noreturn]] void ThrowCode(HRESULT hr, CFormat<Args..., HRESULT> format, const Args&... args) const
    {
        Write<Args..., HRESULT>(opLogSys::Marker::Exception, format, args..., hr);
        Throw(hr);
    }
    template <typename... Args>
    [[noreturn]] void FailCode(HRESULT hr, CFormat<Args..., HRESULT> format, const Args&... args) const
    {
        Write<Args..., HRESULT>(opLogSys::Marker::Assert, format, args..., hr);
        Throw(hr);
    }
    // Throws without a record, where the failure has been told already.
    [[noreturn]] void Throw(HRESULT hr) const { throw HRESULT{ FAILED(hr) ? hr : E_FAIL }; }

    // An additional line of the scope in the trace; nothing in an inactive scope.
    bool IsActive() const { return m_pTrace != nullptr; }
    template <typename... Args>
    void Trace(CFormat<Args...> format, const Args&... args) const
    {
        if (IsActive())
            TraceLine(format.pText, format_detail::Pass(args)...);
    }
    // The lines traced while it lives stay together. In an active scope only.
    opLogSys::Common::CGroupScope TraceGroup() const;

    // True when the filter has entries; computed once for the process.
    static bool IsTraceOn();
    // True when the filter lets the pair pass.
    static bool IsTarget(const wchar_t* pSubject, LONG nLevel);

private:
    template <typename... Args>
    void Write(opLogSys::Marker eMarker, CFormat<Args...> format, const Args&... args) const
    {
        opLogSys::WriteRecord({ format.Where.line(), format.Where.file_name(), m_sFunction, eMarker }, format.pText,
                              format_detail::Pass(args)...);
    }
    void Enter();
    void Leave();
    void TraceLine(const wchar_t* pFormat, ...) const;

    std::string_view m_sFunction;
    opLogSys::ILog* m_pTrace = nullptr; // one reference, only in an active scope
    HRESULT m_hr = E_FAIL;
    bool m_bHasResult = false;
};
