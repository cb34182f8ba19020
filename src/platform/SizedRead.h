// The calls that are asked twice: without a buffer for the size, then for the data.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <span>

#include "platform/Win32.h"

// Each call goes through a function `DWORD call(BYTE* pBuffer, DWORD& rdwSize)`: it gets the room there is, answers the
// platform's status, and stores what the platform says is needed.
class CSizedRead
{
public:
    // dwTooSmall: what the call answers when there is not enough room. nSpare: the bytes behind the data's end into
    // which a platform may put the zero that an unterminated text lacks.
    explicit CSizedRead(DWORD dwTooSmall, DWORD nSpare = 0) : m_dwTooSmall(dwTooSmall), m_nSpare(nSpare) {}

    // The caller judges by the answer whether a size was told: most calls answer dwTooSmall, some succeed.
    template <typename Call>
    DWORD AskSize(const Call& call)
    {
        m_dwSize = 0;
        return call(nullptr, m_dwSize);
    }
    DWORD Size() const { return m_dwSize; }

    // A zeroed block of that size; false when there is no memory, or for a size that no answer can have.
    bool Allocate()
    {
        m_pData.reset(m_dwSize <= MaxSize ? new (std::nothrow) BYTE[m_dwSize + m_nSpare]() : nullptr);
        return m_pData != nullptr;
    }
    // Answers the status of the last call. Data that has grown since the size was told is asked for again, a few times.
    template <typename Call>
    DWORD Read(const Call& call)
    {
        for (int nTry = 0;; ++nTry)
        {
            DWORD dwNeeded = m_dwSize;
            const DWORD dwStatus = call(m_pData.get(), dwNeeded);
            if (dwStatus != m_dwTooSmall || nTry == MaxTries || !Grow(dwNeeded))
                return dwStatus;
        }
    }

    // The block as a record; null when it is too short for it.
    template <typename Record>
    const Record* As() const
    {
        return m_dwSize >= sizeof(Record) ? reinterpret_cast<const Record*>(m_pData.get()) : nullptr;
    }
    // For a table: the 32-bit number that it begins with, and its rows, never more of them than the block can hold.
    DWORD Count() const
    {
        const DWORD* const pCount = As<DWORD>();
        return pCount != nullptr ? *pCount : 0;
    }
    template <typename Row>
    std::span<const Row> Rows(std::size_t nOffset, std::size_t nCount) const
    {
        if (m_dwSize < nOffset)
            return {};
        return { reinterpret_cast<const Row*>(m_pData.get() + nOffset),
                 std::min<std::size_t>(nCount, (m_dwSize - nOffset) / sizeof(Row)) };
    }

private:
    static constexpr DWORD MaxSize = 64 * 1024 * 1024;
    static constexpr int MaxTries = 3;

    // Some calls tell the whole size, some what is missing: both together are enough for either.
    bool Grow(DWORD dwNeeded)
    {
        m_dwSize += std::min(dwNeeded, MaxSize);
        if (Allocate())
            return true;
        m_dwSize = 0;
        return false;
    }

    DWORD m_dwTooSmall;
    DWORD m_nSpare;
    DWORD m_dwSize = 0;
    std::unique_ptr<BYTE[]> m_pData;
};
