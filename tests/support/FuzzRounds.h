// How many rounds a test with random input runs: more than usual where scripts/fuzz asks for it.
#pragma once

#include <cstdlib>

inline int FuzzRounds(int nUsual)
{
    const char* const pRounds = std::getenv("KELVARIN_FUZZ_ROUNDS");
    return pRounds != nullptr ? std::atoi(pRounds) : nUsual;
}
