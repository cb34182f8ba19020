// Registry keys as text.
#include <algorithm>
#include <optional>
#include <span>

#include "collect/CollectorUtil.h"
#include "log/FunctionLog.h"
#include "log/ResultLog.h"
#include "platform/RegKey.h"
#include "platform/Text.h"

namespace
{

// Names that do not fit end an enumeration; no key name is longer, but value names can be.
constexpr DWORD NameCapacity = 260;

// A longer line is refused whole; text beyond it would be for nothing.
constexpr std::size_t MaxLine = CLineWriter::MaxText;

std::wstring HexBytes(std::span<const BYTE> Data)
{
    static constexpr wchar_t aDigits[] = L"0123456789abcdef";
    std::wstring sText = L"hex:";
    for (std::size_t n = 0; n < Data.size() && sText.size() < MaxLine; ++n)
    {
        if (n > 0)
            sText += L',';
        sText += aDigits[Data[n] >> 4];
        sText += aDigits[Data[n] & 15];
    }
    return sText;
}

// A number may have fewer bytes than its type says.
DWORD NumberOf(std::span<const BYTE> Data)
{
    DWORD dwValue = 0;
    std::copy_n(Data.begin(), std::min(Data.size(), sizeof dwValue), reinterpret_cast<BYTE*>(&dwValue));
    return dwValue;
}

// Without a value for the types that the report leaves out.
std::optional<std::wstring> DataText(const CRegValue& rValue)
{
    switch (rValue.Type())
    {
    case REG_SZ:
        return FormatText(L"\"%s\"", std::wstring(rValue.Text().substr(0, MaxLine)));
    case REG_BINARY:
        return HexBytes(rValue.Data());
    case REG_DWORD:
        return FormatText(L"dword:%08X", NumberOf(rValue.Data()));
    case REG_MULTI_SZ:
        // The report has always shown the name alone; its readers count on it.
        return std::wstring();
    default:
        return std::nullopt;
    }
}

} // namespace

HRESULT CCollectorUtil::OutputRegSubKeyData(HKEY hKey, CResultLog& rResultLog)
{
    CFunctionLog log;
    return log.Run([&] {
        for (DWORD nIndex = 0;; ++nIndex)
        {
            wchar_t aName[NameCapacity];
            DWORD nName = NameCapacity;
            if (::RegEnumValueW(hKey, nIndex, aName, &nName, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
                return;
            CRegValue value(hKey, aName);
            if (value.Ask() != ERROR_SUCCESS)
                return;
            if (!value.Allocate())
                log.Throw(E_OUTOFMEMORY, L"pData.Allocate( %d ) failed.", value.Size());
            if (value.Read() != ERROR_SUCCESS)
                return;
            if (const auto sText = DataText(value))
                rResultLog.WriteLine(L"    \"%s\"=%s", aName, *sText);
        }
    });
}

HRESULT CCollectorUtil::OutputRegSubKey(HKEY hKey, const std::wstring& sPath, CResultLog& rResultLog)
{
    CFunctionLog log;
    return log.Run([&] {
        for (DWORD nIndex = 0;; ++nIndex)
        {
            std::wstring sName;
            if (EnumSubKey(hKey, nIndex, sName, NameCapacity) != ERROR_SUCCESS)
                return;
            const std::wstring sSubPath = FormatText(L"%s\\%s", sPath, sName);
            rResultLog.WriteLine(L"  [%s]", sSubPath);
            CRegKey reg;
            if (OpenMachineKey(sSubPath, reg) != ERROR_SUCCESS)
            {
                log.Warning(L"CRegKey::Open( HKEY_LOCAL_MACHINE ) failed.");
                continue;
            }
            OutputRegSubKeyData(reg.Get(), rResultLog);
            rResultLog.WriteLine(L"");
            OutputRegSubKey(reg.Get(), sSubPath, rResultLog);
        }
    });
}
