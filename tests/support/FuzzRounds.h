// What tests with random input have in common: how many rounds they run, and devices that answer what they like.
#pragma once

#include <cstdlib>
#include <memory>
#include <random>
#include <string>

#include "support/FakePcIo.h"
#include "support/GuardPages.h"

// More than usual where scripts/fuzz asks for it.
inline unsigned FuzzRounds(unsigned nUsual)
{
    const char* const pRounds = std::getenv("KELVARIN_FUZZ_ROUNDS");
    return pRounds != nullptr ? std::strtoul(pRounds, nullptr, 10) : nUsual;
}

// While it lives, every block has a guard page behind it, and the records of the error log are formatted but go to no
// file: the six requests to the wineserver that each one costs are nearly all the time that a round takes.
class CFuzz
{
public:
    CFuzz(unsigned nSeed, CFakePcIo& rIo);
    ~CFuzz();

    // New garbage. A round's requests get the same, so that what a device is asked twice agrees.
    void NextRound();
    std::string Garbage(std::size_t nSize) const;
    // Spoils one answer in two: its error, its size, some of its bytes, or all of them.
    void Tamper(CFakeRequest& rRequest, DWORD& rdwError);

    std::mt19937 Random;

private:
    struct CPatches;
    CFakePcIo& m_rIo;
    std::string m_sGarbage;
    std::unique_ptr<CPatches> m_pPatches;
    CGuardPages m_Guard;
};
