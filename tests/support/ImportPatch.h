// Puts a fake behind one of the functions that this executable imports, for as long as the object lives.
#pragma once

#include <utility>

#include "platform/Win32.h"

class CImportPatchBase
{
protected:
    // Finds the import by its name in any DLL; throws std::runtime_error when this executable does not import it.
    CImportPatchBase(const char* pName, void* pFake);
    ~CImportPatchBase();
    CImportPatchBase(const CImportPatchBase&) = delete;
    CImportPatchBase& operator=(const CImportPatchBase&) = delete;

    void* m_pOriginal;

private:
    void** m_ppSlot;
};

// The code under test must stand in another translation unit than the patch: within one function the compiler may keep
// the imported address in a register.
template <typename Function>
class CImportPatch : private CImportPatchBase
{
public:
    CImportPatch(const char* pName, Function* pFake) : CImportPatchBase(pName, reinterpret_cast<void*>(pFake)) {}
    Function* Original() const { return reinterpret_cast<Function*>(m_pOriginal); }
};

// What a fake of a failing call gives: FALSE, or nought.
inline bool FailedCall(DWORD dwError)
{
    ::SetLastError(dwError);
    return false;
}

// The same with a lambda, which may capture, may leave the types of its arguments to auto, and may be called by any
// thread. Made by FakeImport and WrapImport.
template <typename Function, typename Call, bool bWithOriginal>
class CImportFake;

template <typename Result, typename... Arguments, typename Call, bool bWithOriginal>
class CImportFake<Result WINAPI(Arguments...), Call, bWithOriginal>
{
public:
    CImportFake(const char* pName, Call call) : m_Call(std::move(call)), m_Patch(pName, &Answer) { s_pFake = this; }

private:
    static Result WINAPI Answer(Arguments... arguments)
    {
        if constexpr (bWithOriginal)
            return static_cast<Result>(s_pFake->m_Call(s_pFake->m_Patch.Original(), arguments...));
        else
            return static_cast<Result>(s_pFake->m_Call(arguments...));
    }

    // Each lambda has a type of its own, and so each fake a pointer of its own. Copies of one lambda may share it.
    static inline CImportFake* s_pFake = nullptr;
    Call m_Call;
    CImportPatch<Result WINAPI(Arguments...)> m_Patch;
};

// const auto fake = FakeImport<decltype(::Beep)>("Beep", [&](DWORD, DWORD) { return TRUE; });
template <typename Function, typename Call>
CImportFake<Function, Call, false> FakeImport(const char* pName, Call call)
{
    return { pName, std::move(call) };
}
// The lambda gets the function that was there before as its first argument.
template <typename Function, typename Call>
CImportFake<Function, Call, true> WrapImport(const char* pName, Call call)
{
    return { pName, std::move(call) };
}
