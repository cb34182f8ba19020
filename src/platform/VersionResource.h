// The version resource of a file, read once and asked as often as needed.
#pragma once

#include <compare>
#include <optional>
#include <string>
#include <vector>

#include "platform/Win32.h"

class CVersionResource
{
public:
    // The fixed version's two 32-bit numbers.
    struct CFixed
    {
        DWORD dwMS = 0;
        DWORD dwLS = 0;
        constexpr auto operator<=>(const CFixed&) const = default; // the upper number first
    };
    struct CTranslation
    {
        WORD wLanguage;
        WORD wCodePage;
    };

    // Reads the resource; a file without one is a failure (Size is 0 then).
    [[nodiscard]] HRESULT Load(const std::wstring& sPath);
    // The size that the platform told, also when the reading failed afterwards; 0: there is no resource.
    DWORD Size() const { return m_dwSize; }

    // The last error says why there is none.
    [[nodiscard]] std::optional<CFixed> Fixed() const;
    // The first translation entry.
    [[nodiscard]] std::optional<CTranslation> Translation() const;
    // A string of the given translation; without a value when there is no such key.
    [[nodiscard]] std::optional<std::wstring> String(CTranslation translation, const wchar_t* pKey) const;

    // The "FileVersion" string, each ", " made a ".".
    [[nodiscard]] std::optional<std::wstring> FileVersion(CTranslation translation) const;
    // That of the first translation; empty when there is none.
    [[nodiscard]] std::wstring FileVersionText() const;

private:
    DWORD m_dwSize = 0;
    std::vector<BYTE> m_Data;
};

// "1.2.3.4" of the fixed version.
[[nodiscard]] std::wstring FixedVersionText(CVersionResource::CFixed version);
