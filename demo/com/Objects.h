// What the class table makes objects with.
#pragma once

#include <windows.h>

#include <objbase.h>

#include <string>

// How an object of a class behaves, from two values of the class's registry key. "Behavior" holds words between blanks:
//   free-threaded       calls come in on every thread, without a proxy
//   answer-by-message   asked on another thread, it answers once the thread of its creation dispatches a message
//   message-storm       floods the thread of its creation with messages
//   catch-inside        raises an exception in QueryInterface and catches it there
//   load-module         loads the library that the value "Module" names, and leaves it loaded
//   throw-construct, throw-query, throw-release    raises a C++ exception as other compilers do
//   fault-construct     writes to address 0
//   null-object, fail-object                       CreateInstance: success without an object, failure
//   refuse-unknown, other-objects                  QueryInterface: not for IUnknown, another object each time
//   no-class, unload-early                         the server: no class factory, always ready to be unloaded
struct CBehavior
{
    std::wstring sWords;
    std::wstring sModule;

    bool Has(const std::wstring& sWord) const
    {
        return (L' ' + sWords + L' ').find(L' ' + sWord + L' ') != std::wstring::npos;
    }
};

IUnknown* MakeProductObject(REFCLSID rClsid, const CBehavior& rBehavior);
IUnknown* MakeDecoder(REFCLSID rClsid, const CBehavior& rBehavior);
IUnknown* MakeRenderer(REFCLSID rClsid, const CBehavior& rBehavior);
IUnknown* MakeSxs(REFCLSID rClsid, const CBehavior& rBehavior);
IUnknown* MakeSysInfo(REFCLSID rClsid, const CBehavior& rBehavior);
IUnknown* MakeBackup(REFCLSID rClsid, const CBehavior& rBehavior);

// A C++ exception in the form of other compilers; with GCC's own throw nobody outside this library could catch it.
void RaiseForeign(DWORD dwFlags = EXCEPTION_NONCONTINUABLE);
