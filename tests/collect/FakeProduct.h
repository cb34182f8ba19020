// The surroundings of an installed product: the folders of the shell, and one registered class.
#pragma once

#include <shlobj.h>

#include <map>
#include <string>

#include "support/ImportPatch.h"

// Answers for the folders that it was given; every other one is missing.
class CFakeShellFolders
{
public:
    explicit CFakeShellFolders(std::map<int, std::wstring> Folders) : m_Patch("SHGetFolderPathW", Answer)
    {
        s_Folders = std::move(Folders);
    }

private:
    static HRESULT WINAPI Answer(HWND, int nCsidl, HANDLE, DWORD, LPWSTR pPath)
    {
        const auto it = s_Folders.find(nCsidl);
        if (it == s_Folders.end())
            return HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);
        it->second.copy(pPath, MAX_PATH - 1);
        pPath[it->second.size()] = L'\0';
        return S_OK;
    }

    static inline std::map<int, std::wstring> s_Folders;
    CImportPatch<decltype(::SHGetFolderPathW)> m_Patch;
};

// Gives the object, borrowed, for this class and interface alone; null is a class that is not registered.
class CFakeClass
{
public:
    CFakeClass(REFCLSID rClsid, REFIID rIid, IUnknown* pObject) : m_Patch("CoCreateInstance", Create)
    {
        s_Clsid = rClsid;
        s_Iid = rIid;
        s_pObject = pObject;
    }

private:
    static HRESULT WINAPI Create(REFCLSID rClsid, LPUNKNOWN pOuter, DWORD dwContext, REFIID rIid, void** ppObject)
    {
        *ppObject = nullptr;
        if (rClsid != s_Clsid || s_pObject == nullptr || pOuter != nullptr || dwContext != CLSCTX_ALL)
            return REGDB_E_CLASSNOTREG;
        return rIid == s_Iid ? s_pObject->QueryInterface(rIid, ppObject) : E_NOINTERFACE;
    }

    static inline GUID s_Clsid, s_Iid;
    static inline IUnknown* s_pObject;
    CImportPatch<decltype(::CoCreateInstance)> m_Patch;
};

// An object of the product that lives as long as its test; counts what is left of its references.
template <typename Interface>
class CFakeObject : public Interface
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** ppObject) override
    {
        ++nReferences;
        *ppObject = static_cast<Interface*>(this);
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++nReferences); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--nReferences); }

    int nReferences = 0;

protected:
    ~CFakeObject() = default;
};

// The exception of another compiler, as it leaves an object of the product.
inline void ThrowForeign()
{
    ::RaiseException(0xE06D7363, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}
