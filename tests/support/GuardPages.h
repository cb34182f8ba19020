// Guard pages behind the blocks of the test executables: behind what is allocated begins a page that nobody may touch.
// KELVARIN_GUARD_PAGES=1 in the environment has them for the whole run. A block is then aligned to eight bytes.
#pragma once

#include <atomic>

// Has them for as long as it lives, and each block of an even size ends right there. What is freed meanwhile is used
// again at once, which is twenty times as fast; else nobody may touch it any more either.
class CGuardPages
{
public:
    CGuardPages() { ++s_nScopes; }
    ~CGuardPages() { --s_nScopes; }
    CGuardPages(const CGuardPages&) = delete;
    CGuardPages& operator=(const CGuardPages&) = delete;

    static inline std::atomic<int> s_nScopes;
};
