// Calls into objects that another compiler built. Their C++ exceptions are structured exceptions that our catch
// clauses do not see; without a guard they end the process.
#pragma once

#include "platform/Win32.h"

// Runs fn(pContext) and gives 0, or the exception's code (0xE06D7363) when a C++ exception of the Microsoft form left
// it. Every other structured exception, such as an access violation, passes on. An object that throws and catches
// inside itself is left alone. Guards the calling thread only.
extern "C" DWORD KelvarinGuardedCall(void (*fn)(void*), void* pContext);

// The same for a callable. What it runs is a leaf call alone: frames of ours between the guard and the object are not
// unwound, so nothing in it may want to be destroyed.
template <typename Call>
DWORD CallForeign(Call& call)
{
    return KelvarinGuardedCall([](void* pCall) { (*static_cast<Call*>(pCall))(); }, &call);
}

// What a guarded call throws when the object threw. No result code: it passes the catches for those.
struct CForeignException
{
    DWORD dwCode;
};

// The result of a call into a foreign object, such as [&] { return pObject->DoIt(); }.
template <typename Call>
HRESULT CallObject(const Call& call)
{
    HRESULT hr = E_UNEXPECTED;
    auto guarded = [&] { hr = call(); };
    const DWORD dwCode = CallForeign(guarded);
    if (dwCode != 0)
        throw CForeignException{ dwCode };
    return hr;
}
