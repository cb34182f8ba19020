// What tests with random input have in common: how many rounds they run, and devices that answer what they like.
#pragma once

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "support/FakePcIo.h"
#include "support/GuardPages.h"
#include "support/LogWatch.h"

// More than usual where scripts/fuzz asks for it.
inline unsigned FuzzRounds(unsigned nUsual)
{
    const char* const pRounds = std::getenv("KELVARIN_FUZZ_ROUNDS");
    return pRounds != nullptr ? std::strtoul(pRounds, nullptr, 10) : nUsual;
}

// While it lives, every block has a guard page behind it, and the records of the error log are formatted but go to no
// file: the requests to the wineserver that each one costs are nearly all the time that a round takes.
class CFuzz
{
public:
    CFuzz(unsigned nSeed, CFakePcIo& rIo) : Random(nSeed)
    {
        rIo.Tamper = [this](const auto&, CFakeRequest& rRequest, DWORD& rdwError) { Tamper(rRequest, rdwError); };
        rIo.Add(m_sLog, nullptr); // nor is there another one
    }

    // New garbage. A round's requests get the same, so that what a device is asked twice agrees.
    void NextRound()
    {
        // Small numbers get further, as lengths, types and counts.
        const unsigned nValues = Random() % 3 == 0 ? 256 : 13;
        std::ranges::generate(m_Garbage, [&] { return static_cast<BYTE>(Random() % nValues); });
    }
    std::vector<BYTE> Garbage(std::size_t nSize) const
    {
        std::vector<BYTE> Bytes(nSize);
        for (std::size_t n = 0; n < nSize; ++n)
            Bytes[n] = m_Garbage[n % m_Garbage.size()];
        return Bytes;
    }
    std::mt19937 Random;

private:
    // Spoils one answer in two: its error, its size, some of its bytes, or all of them.
    void Tamper(CFakeRequest& rRequest, DWORD& rdwError)
    {
        const std::span<BYTE> Out = rRequest.Out;
        const auto nKind = Random() % 40;
        if (nKind == 0)
            rdwError = Random() % 2 == 0 ? ERROR_GEN_FAILURE : ERROR_INSUFFICIENT_BUFFER;
        else if (nKind == 1)
            rRequest.dwReturned = Random() % 2 == 0 ? Random() % 300 : Random();
        else if (nKind < 8 && !Out.empty())
            Out[Random() % std::min<std::size_t>(Out.size(), 200)] = static_cast<BYTE>(Random());
        else if (nKind < 20)
        {
            std::ranges::copy(Garbage(Out.size()), Out.begin());
            rRequest.dwReturned = static_cast<DWORD>(Out.size());
            rdwError = ERROR_SUCCESS;
        }
        // Whatever a hub says of its ports, the tree of a PC ends.
        if (rRequest.dwCode == 0x220408 && Out.size() == 76)
            Out[6] %= 8;
    }

    template <typename Result, Result Value, typename... Args>
    static Result WINAPI Always(Args...)
    {
        return Value;
    }
    // Blocks that operator new does not make get their guard page too.
    static HGLOBAL WINAPI Alloc(UINT, SIZE_T nSize) { return std::memset(::operator new(nSize), 0, nSize); }
    static HGLOBAL WINAPI Free(HGLOBAL hBlock)
    {
        ::operator delete(hBlock);
        return nullptr;
    }

    std::array<BYTE, 1021> m_Garbage{};
    const std::wstring m_sLog = ErrorLogPath(); // while folders can still be seen
    CImportPatch<DWORD WINAPI(HANDLE, DWORD)> m_Wait{ "WaitForSingleObject", Always<DWORD, WAIT_OBJECT_0> };
    CImportPatch<BOOL WINAPI(HANDLE)> m_Release{ "ReleaseMutex", Always<BOOL, TRUE> };
    CImportPatch<DWORD WINAPI(LPCWSTR)> m_Attributes{ "GetFileAttributesW", Always<DWORD, INVALID_FILE_ATTRIBUTES> };
    CImportPatch<decltype(Alloc)> m_Alloc{ "GlobalAlloc", Alloc };
    CImportPatch<decltype(Free)> m_Free{ "GlobalFree", Free };
    CGuardPages m_Guard;
};
