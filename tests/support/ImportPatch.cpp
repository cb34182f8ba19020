#include "support/ImportPatch.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace
{

void** FindSlot(const char* pName)
{
    auto* const pBase = reinterpret_cast<BYTE*>(::GetModuleHandleW(nullptr));
    const auto* const pNt = reinterpret_cast<IMAGE_NT_HEADERS*>(pBase +
                                                                reinterpret_cast<IMAGE_DOS_HEADER*>(pBase)->e_lfanew);
    const DWORD dwImports = pNt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* pDll = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(pBase + dwImports); pDll->FirstThunk != 0; ++pDll)
    {
        auto* pLookup = reinterpret_cast<IMAGE_THUNK_DATA*>(pBase + pDll->OriginalFirstThunk);
        auto* pAddress = reinterpret_cast<IMAGE_THUNK_DATA*>(pBase + pDll->FirstThunk);
        for (; pLookup->u1.AddressOfData != 0; ++pLookup, ++pAddress)
        {
            if (IMAGE_SNAP_BY_ORDINAL(pLookup->u1.Ordinal))
                continue;
            const auto* const pImport = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(pBase + pLookup->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<const char*>(pImport->Name), pName) == 0)
                return reinterpret_cast<void**>(&pAddress->u1.Function);
        }
    }
    throw std::runtime_error(std::string("not imported: ") + pName);
}

} // namespace

// The linker leaves the table writable.
CImportPatchBase::CImportPatchBase(const char* pName, void* pFake) : m_ppSlot(FindSlot(pName))
{
    m_pOriginal = std::exchange(*m_ppSlot, pFake);
}

CImportPatchBase::~CImportPatchBase()
{
    *m_ppSlot = m_pOriginal;
}
