#include "platform/FirmwareTable.h"

#include <algorithm>
#include <vector>

#include "platform/Text.h"

namespace
{

constexpr std::size_t TableHeaderSize = 8;
// Of a structure: type, length of the formatted part with this header, handle.
constexpr std::size_t StructureHeaderSize = 4;
constexpr BYTE TypeSystem = 1;
constexpr BYTE TypeEnd = 127;
// Offsets of the text numbers in the formatted part of the system structure.
constexpr std::size_t ManufacturerAt = 4;
constexpr std::size_t ProductAt = 5;
constexpr std::size_t SerialAt = 7;

// The texts behind the formatted part: each ends in a zero, and a further zero ends them all.
class CTexts
{
public:
    explicit CTexts(std::span<const BYTE> Bytes)
    {
        const std::string_view sBytes(reinterpret_cast<const char*>(Bytes.data()), Bytes.size());
        std::size_t nStart = 0;
        while (nStart < sBytes.size() && sBytes[nStart] != '\0')
        {
            const std::string_view sText = UpToZero(sBytes.substr(nStart));
            m_Texts.push_back(WidenBytes(sText));
            nStart = std::min(nStart + sText.size() + 1, sBytes.size());
        }
        // Without texts there are two zeros all the same.
        m_nSize = std::min(nStart + (m_Texts.empty() ? 2 : 1), Bytes.size());
    }

    std::size_t Size() const { return m_nSize; }
    // Texts are numbered from 1; 0 is none.
    std::wstring Text(std::size_t nNumber) const
    {
        return nNumber == 0 || nNumber > m_Texts.size() ? std::wstring() : m_Texts[nNumber - 1];
    }

private:
    std::vector<std::wstring> m_Texts;
    std::size_t m_nSize;
};

} // namespace

CComputerIdentity ParseFirmwareTable(std::span<const BYTE> Table)
{
    auto Rest = Table.subspan(std::min(TableHeaderSize, Table.size()));
    while (Rest.size() >= StructureHeaderSize && Rest[0] != TypeEnd)
    {
        const std::size_t nLength = Rest[1];
        if (nLength < StructureHeaderSize || nLength > Rest.size())
            break;
        const CTexts texts(Rest.subspan(nLength));
        if (Rest[0] == TypeSystem)
        {
            const auto TextAt = [&](std::size_t nOffset) {
                return nOffset < nLength ? texts.Text(Rest[nOffset]) : std::wstring();
            };
            return { TextAt(ManufacturerAt), TextAt(ProductAt), TextAt(SerialAt) };
        }
        Rest = Rest.subspan(nLength + texts.Size());
    }
    return {};
}

CComputerIdentity ReadComputerIdentity()
{
    constexpr DWORD RawManagementTable = 0x52534D42; // "RSMB"
    constexpr UINT MaxTable = 16 * 1024 * 1024;
    const UINT nBytes = ::GetSystemFirmwareTable(RawManagementTable, 0, nullptr, 0);
    if (nBytes == 0 || nBytes > MaxTable)
        return {};
    std::vector<BYTE> Table(nBytes);
    const UINT nRead = ::GetSystemFirmwareTable(RawManagementTable, 0, Table.data(), nBytes);
    // A greater answer means that the table has grown, which it does not, and nothing was read.
    return nRead > nBytes ? CComputerIdentity{} : ParseFirmwareTable(std::span(Table).first(nRead));
}
