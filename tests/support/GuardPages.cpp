// The operators new and delete of the test executables. The other forms of the library call these.
#include "support/GuardPages.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/HResult.h"

namespace
{

constexpr std::size_t PageSize = 4096, PageCount = 0x10000;
// The system gives a process about twice as many mappings, and each block is two. Beyond that blocks are ordinary ones.
constexpr std::size_t MostPages = PageCount / 2;

BYTE* s_pPages;
// The first page of a block has the number of its pages, with the guard.
constexpr DWORD Unused = 0, Inner = 0xFFFFFFFF, Kept = 0xFFFFFFFE;
DWORD s_aPages[PageCount];
constexpr BYTE Filler = 0xCD;
std::size_t s_nNext, s_nUsed;
DWORD* s_aKept[256]; // small blocks, freed and still accessible
std::size_t s_nKept;

struct CLock
{
    CLock() { ::AcquireSRWLockExclusive(&s_Lock); }
    ~CLock() { ::ReleaseSRWLockExclusive(&s_Lock); }
    static inline SRWLOCK s_Lock = SRWLOCK_INIT;
    CLastErrorKeeper keeper;
};

bool IsAlways()
{
    static const char* const pAlways = std::getenv("KELVARIN_GUARD_PAGES");
    return pAlways != nullptr && *pAlways == '1';
}

// The next unused run, round all the pages: one that was freed stays out of use for long.
DWORD* FindRun(std::size_t nPages)
{
    DWORD* pRun = std::search_n(s_aPages + s_nNext, std::end(s_aPages), nPages, Unused);
    if (pRun == std::end(s_aPages))
        pRun = std::search_n(s_aPages, std::end(s_aPages), nPages, Unused);
    return pRun;
}

// Null when there is no room. Up to seven bytes lie between a block's end and the page, in a scope one, as UTF-16 words
// want their alignment; they are looked at when the block is freed.
void* Allocate(std::size_t nSize)
{
    const CLock lock;
    if (s_pPages == nullptr)
        s_pPages = static_cast<BYTE*>(::VirtualAlloc(nullptr, PageCount * PageSize, MEM_RESERVE, PAGE_NOACCESS));
    const std::size_t nPages = (nSize + PageSize - 1) / PageSize + 1, nRoom = (nPages - 1) * PageSize;
    if (s_pPages == nullptr || nPages > MostPages || s_nUsed > MostPages - nPages)
        return nullptr;
    const bool bKept = nPages == 2 && s_nKept != 0;
    DWORD* const pRun = bKept ? s_aKept[--s_nKept] : FindRun(nPages);
    s_nNext = static_cast<std::size_t>(pRun - s_aPages);
    BYTE* const pFirst = s_pPages + s_nNext * PageSize;
    if (!bKept && (pRun == std::end(s_aPages) || !::VirtualAlloc(pFirst, nRoom, MEM_COMMIT, PAGE_READWRITE)))
        return nullptr;
    const std::size_t nSlack = (nRoom - nSize) % (CGuardPages::s_nScopes != 0 ? sizeof(wchar_t) : 8);
    std::fill_n(pRun, nPages, Inner);
    *pRun = static_cast<DWORD>(nPages);
    pRun[nPages - 1] -= static_cast<DWORD>(nSlack);
    s_nUsed += nPages;
    return std::memset(pFirst + nRoom - nSize - nSlack, Filler, nSize + nSlack);
}

void Free(DWORD* pRun)
{
    const CLock lock;
    const DWORD nPages = *pRun;
    if (nPages - 1 >= PageCount)
        __builtin_trap(); // freed twice, or never allocated
    BYTE* const pFirst = s_pPages + static_cast<std::size_t>(pRun - s_aPages) * PageSize;
    const std::size_t nRoom = (nPages - 1) * PageSize, nSlack = Inner - pRun[nPages - 1];
    if (std::any_of(pFirst + nRoom - nSlack, pFirst + nRoom, [](BYTE n) { return n != Filler; }))
        __builtin_trap(); // written beyond its end
    s_nUsed -= nPages;
    if (nPages == 2 && CGuardPages::s_nScopes != 0 && s_nKept != std::size(s_aKept))
    {
        *pRun = Kept;
        s_aKept[s_nKept++] = pRun;
        return;
    }
    ::VirtualFree(pFirst, nRoom, MEM_DECOMMIT);
    std::fill_n(pRun, nPages, Unused);
}

} // namespace

void* operator new(std::size_t nSize)
{
    nSize = std::max<std::size_t>(nSize, 1);
    void* pBlock = CGuardPages::s_nScopes != 0 || IsAlways() ? Allocate(nSize) : nullptr;
    if (pBlock == nullptr)
        pBlock = std::malloc(nSize);
    if (pBlock == nullptr)
        throw std::bad_alloc();
    return pBlock;
}

void operator delete(void* pBlock) noexcept
{
    const ULONG_PTR nOffset = reinterpret_cast<ULONG_PTR>(pBlock) - reinterpret_cast<ULONG_PTR>(s_pPages);
    if (s_pPages == nullptr || nOffset >= PageCount * PageSize)
        std::free(pBlock);
    else
        Free(s_aPages + nOffset / PageSize);
}

void operator delete(void* pBlock, std::size_t) noexcept
{
    ::operator delete(pBlock);
}
