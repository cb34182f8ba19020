// The device tree of the described PC for the real program, since Wine has none: the program loads this library as the
// product's side-by-side helper, and the fake PC takes the place of the functions that setupapi exports.
#include <cstring>

#include "support/FakePcDevices.h"
#include "support/ImportPatch.h"

// Here the fakes go into the system library's table of exports. Its other functions, and those of other libraries, are
// left alone: they lead to the driver.
CImportPatchBase::CImportPatchBase(const char* pName, void* pFake)
{
    auto* const pBase = reinterpret_cast<BYTE*>(::LoadLibraryW(L"setupapi.dll"));
    const auto At = [pBase](DWORD dwOffset) { return reinterpret_cast<DWORD*>(pBase + dwOffset); };
    const auto* const pHeaders = reinterpret_cast<IMAGE_NT_HEADERS*>(
        At(static_cast<DWORD>(reinterpret_cast<IMAGE_DOS_HEADER*>(pBase)->e_lfanew)));
    const auto* const pExports = reinterpret_cast<IMAGE_EXPORT_DIRECTORY*>(
        At(pHeaders->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress));
    for (DWORD n = 0; n < pExports->NumberOfNames; ++n)
    {
        if (std::strcmp(reinterpret_cast<char*>(At(At(pExports->AddressOfNames)[n])), pName) != 0)
            continue;
        const WORD wIndex = reinterpret_cast<WORD*>(At(pExports->AddressOfNameOrdinals))[n];
        DWORD* const pSlot = At(pExports->AddressOfFunctions) + wIndex;
        DWORD dwProtection = 0;
        ::VirtualProtect(pSlot, sizeof *pSlot, PAGE_READWRITE, &dwProtection);
        *pSlot = static_cast<DWORD>(static_cast<BYTE*>(pFake) - pBase);
    }
}
CImportPatchBase::~CImportPatchBase() = default;

BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD dwReason, void*)
{
    if (dwReason != DLL_PROCESS_ATTACH)
        return TRUE;
    // To the end of the program: it finds no class here and would let the library go.
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                         reinterpret_cast<const wchar_t*>(hInstance), &hInstance);
    (new CFakePcDevices)->Describe(TEST_DATA L"\\hardware\\UsbPc.txt");
    return TRUE;
}
