// Guard pages behind the blocks of the test executables: what is allocated ends, to the byte, where a page begins that
// nobody may touch. KELVARIN_GUARD_PAGES=1 in the environment has them for the whole run.
#pragma once

#include <atomic>

// Has them for as long as it lives. What is freed meanwhile is used again at once, which is twenty times as fast; else
// nobody may touch a freed block either.
class CGuardPages
{
public:
    CGuardPages() { ++s_nScopes; }
    ~CGuardPages() { --s_nScopes; }
    CGuardPages(const CGuardPages&) = delete;
    CGuardPages& operator=(const CGuardPages&) = delete;

    static inline std::atomic<int> s_nScopes;
};
