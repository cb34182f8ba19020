// Owners of the automation types: BSTR and VARIANT.
#pragma once

#include <oleauto.h>

#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "platform/Win32.h"

class CBstr
{
public:
    CBstr() = default;
    // Throws std::bad_alloc when there is no memory.
    explicit CBstr(std::wstring_view sText)
        : m_pText(::SysAllocStringLen(sText.data(), static_cast<UINT>(sText.size())))
    {
        if (m_pText == nullptr)
            throw std::bad_alloc();
    }
    CBstr(CBstr&& other) noexcept : m_pText(std::exchange(other.m_pText, nullptr)) {}
    CBstr& operator=(CBstr&& other) noexcept
    {
        std::swap(m_pText, other.m_pText);
        return *this;
    }
    ~CBstr() { ::SysFreeString(m_pText); }

    BSTR Get() const { return m_pText; }
    BSTR* Put()
    {
        ::SysFreeString(std::exchange(m_pText, nullptr));
        return &m_pText;
    }
    [[nodiscard]] BSTR Detach() { return std::exchange(m_pText, nullptr); }
    std::wstring Text() const { return TextOf(m_pText); }

    // A null one is the empty text.
    static std::wstring TextOf(BSTR pText)
    {
        return std::wstring(pText != nullptr ? pText : L"", ::SysStringLen(pText));
    }

private:
    BSTR m_pText = nullptr;
};

class CVariant
{
public:
    CVariant() { ::VariantInit(&m_Value); }
    explicit CVariant(std::wstring_view sText) : CVariant()
    {
        m_Value.bstrVal = CBstr(sText).Detach();
        m_Value.vt = VT_BSTR;
    }
    ~CVariant() { ::VariantClear(&m_Value); }
    CVariant(const CVariant&) = delete;
    CVariant& operator=(const CVariant&) = delete;

    const VARIANT& Get() const { return m_Value; }
    VARIANT* Put()
    {
        ::VariantClear(&m_Value);
        return &m_Value;
    }
    bool IsText() const { return m_Value.vt == VT_BSTR; }
    std::wstring Text() const { return IsText() ? CBstr::TextOf(m_Value.bstrVal) : std::wstring(); }

private:
    VARIANT m_Value;
};
