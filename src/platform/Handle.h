// One owner for everything that Windows wants back: a handle with the way to close it and the value that means "none".
#pragma once

#include <utility>

#include "platform/Win32.h"

#include <objbase.h>

template <typename Traits>
class CHandleT
{
public:
    using Type = typename Traits::Type;

    CHandleT() = default;
    explicit CHandleT(Type value) : m_Value(value) {}
    CHandleT(CHandleT&& other) noexcept : m_Value(other.Detach()) {}
    CHandleT& operator=(CHandleT&& other) noexcept
    {
        if (this != &other)
            Attach(other.Detach());
        return *this;
    }
    ~CHandleT() { Close(); }

    explicit operator bool() const { return m_Value != Traits::Invalid(); }
    Type Get() const { return m_Value; }

    // Closes what is held and gives the address for a call that fills in a new value.
    Type* Put()
    {
        Close();
        return &m_Value;
    }
    void Attach(Type value)
    {
        Close();
        m_Value = value;
    }
    [[nodiscard]] Type Detach() { return std::exchange(m_Value, Traits::Invalid()); }
    void Close()
    {
        if (*this)
            Traits::Close(Detach());
    }

private:
    Type m_Value = Traits::Invalid();
};

// CreateFileW answers INVALID_HANDLE_VALUE; most other calls that make a kernel object answer null.
struct FileHandleTraits
{
    using Type = HANDLE;
    static Type Invalid() { return INVALID_HANDLE_VALUE; }
    static void Close(Type h) { ::CloseHandle(h); }
};
struct KernelHandleTraits
{
    using Type = HANDLE;
    static Type Invalid() { return nullptr; }
    static void Close(Type h) { ::CloseHandle(h); }
};
struct FindHandleTraits
{
    using Type = HANDLE;
    static Type Invalid() { return INVALID_HANDLE_VALUE; }
    static void Close(Type h) { ::FindClose(h); }
};
struct RegKeyTraits
{
    using Type = HKEY;
    static Type Invalid() { return nullptr; }
    static void Close(Type h) { ::RegCloseKey(h); }
};
struct ServiceHandleTraits
{
    using Type = SC_HANDLE;
    static Type Invalid() { return nullptr; }
    static void Close(Type h) { ::CloseServiceHandle(h); }
};
struct ModuleTraits
{
    using Type = HMODULE;
    static Type Invalid() { return nullptr; }
    static void Close(Type h) { ::FreeLibrary(h); }
};
struct LocalBlockTraits
{
    using Type = void*;
    static Type Invalid() { return nullptr; }
    static void Close(Type p) { ::LocalFree(p); }
};

using CFileHandle = CHandleT<FileHandleTraits>;
using CKernelHandle = CHandleT<KernelHandleTraits>;
using CFindHandle = CHandleT<FindHandleTraits>;
using CRegKeyHandle = CHandleT<RegKeyTraits>;
using CServiceHandle = CHandleT<ServiceHandleTraits>;
using CModuleHandle = CHandleT<ModuleTraits>;
using CLocalBlock = CHandleT<LocalBlockTraits>;

// A block from CoTaskMemAlloc.
struct TaskBlockTraits
{
    using Type = BYTE*;
    static Type Invalid() { return nullptr; }
    static void Close(Type p) { ::CoTaskMemFree(p); }
};
using CTaskBlock = CHandleT<TaskBlockTraits>;
