// A value of a type that its holder does not know.
#pragma once

#include <new>
#include <type_traits>

#include "log/FunctionLog.h"

class COpdSafeTypeValue
{
public:
    virtual ~COpdSafeTypeValue() = default;
    // Set copies from another object of the same kind, Get into one. Another kind throws E_UNEXPECTED to the caller.
    virtual void Set(const COpdSafeTypeValue& rOther) = 0;
    virtual void Get(COpdSafeTypeValue& rOther) const = 0;
    // A new object with a copy of the value, which the caller owns; null when there is no memory.
    virtual COpdSafeTypeValue* Clone() const = 0;
};

// Refers to a value that lives elsewhere.
template <typename T>
class COpdSafeTypeT : public COpdSafeTypeValue
{
    static_assert(std::is_same_v<T, unsigned>, "the records name this type");

public:
    explicit COpdSafeTypeT(T* pValue) : m_pValue(pValue) {}
    COpdSafeTypeT(const COpdSafeTypeT&) = delete;
    COpdSafeTypeT& operator=(const COpdSafeTypeT&) = delete;

    void Set(const COpdSafeTypeValue& rOther) override
    {
        *m_pValue = ValueOf(rOther, "COpdSafeTypeT<unsigned int>::Set");
    }
    void Get(COpdSafeTypeValue& rOther) const override
    {
        ValueOf(rOther, "COpdSafeTypeT<unsigned int>::Get") = *m_pValue;
    }
    COpdSafeTypeValue* Clone() const override;

private:
    static T& ValueOf(const COpdSafeTypeValue& rOther, opLogSys::CFunctionName function)
    {
        const auto* const pSame = dynamic_cast<const COpdSafeTypeT*>(&rOther);
        if (pSame == nullptr)
            CFunctionLog(function).Fail(E_UNEXPECTED, L"Object type is not equal.");
        return *pSame->m_pValue;
    }

    T* m_pValue;
};

// Holds the value itself.
template <typename T>
class COpdSafeTypeValueT : public COpdSafeTypeT<T>
{
public:
    explicit COpdSafeTypeValueT(const T& value) : COpdSafeTypeT<T>(&m_Value), m_Value(value) {}

private:
    T m_Value;
};

template <typename T>
COpdSafeTypeValue* COpdSafeTypeT<T>::Clone() const
{
    return new (std::nothrow) COpdSafeTypeValueT<T>(*m_pValue);
}
