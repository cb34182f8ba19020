// Puts a fake behind one of the functions that this executable imports, for as long as the object lives.
#pragma once

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
