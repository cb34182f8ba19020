#include "hardware/OpdHardwareProperty.h"

#include <algorithm>

#include "hardware/OpdHardwarePropertyTable.h"
#include "opdutility/OpdLogFile.h"

std::span<const CNameRow<ULONG>> NodeProperties()
{
    return std::span(PropertyRows).first<NodePropertyCount>();
}

std::span<const CNameRow<ULONG>> DevicePropertiesByNodeNumber()
{
    return PropertyRows;
}

HRESULT FormatProperty(const CFunctionLog& log, ULONG ulNumber, const CDeviceProperty& rProperty,
                       COpdHardwareString::CLines& rLines)
{
    if (rProperty.Data.empty())
        log.Fail(E_INVALIDARG, L"ulDataSize == 0");
    const auto* const pRow = std::ranges::find(FormatterRows, ulNumber, &CFormatterRow::ulNumber);
    const auto pFormatter = pRow != std::end(FormatterRows) ? pRow->pFormatter : COpdHardwareString::GetString_Default;
    return pFormatter(rProperty, rLines);
}

void WriteProperty(COpdLogFile& rFile, const std::wstring& sIndent, const std::wstring& sPrefix, const wchar_t* pName,
                   const COpdHardwareString::CLines& rLines)
{
    std::wstring sLabel = sPrefix + pName;
    sLabel.resize(sPrefix.size() + PropertyNameWidth, L' ');
    const wchar_t* pSeparator = L": ";
    for (const std::wstring& sLine : rLines)
    {
        rFile.WriteLine(L"%s%s%s%s", sIndent, sLabel, pSeparator, sLine);
        sLabel.assign(sLabel.size(), L' ');
        pSeparator = L"  ";
    }
}
