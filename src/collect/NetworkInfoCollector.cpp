// The run of the collector, and the adapters with their addresses.
#include <winsock2.h>

#include "collect/NetworkInfoCollector.h"

#include <iphlpapi.h>

#include <algorithm>

#include "collect/CollectorFolders.h"
#include "collect/StepResult.h"
#include "platform/CodePage.h"
#include "platform/GuidText.h"
#include "platform/Path.h"
#include "platform/SizedRead.h"
#include "platform/Text.h"

namespace
{

// dwAddress as the tables have it, its first byte in front. The sockets' own conversion wants them started first.
std::wstring AddressText(DWORD dwAddress)
{
    return FormatText(L"%u.%u.%u.%u", dwAddress & 0xFF, dwAddress >> 8 & 0xFF, dwAddress >> 16 & 0xFF, dwAddress >> 24);
}

std::wstring AddressOf(std::span<const MIB_IPADDRROW> Addresses, DWORD dwIndex)
{
    const auto itRow = std::ranges::find(Addresses, dwIndex, &MIB_IPADDRROW::dwIndex);
    return AddressText(itRow != Addresses.end() ? itRow->dwAddr : 0);
}

// Empty for an adapter that tells nothing.
std::wstring DescriptionOf(DWORD dwIndex)
{
    MIB_IFROW Row{};
    Row.dwIndex = dwIndex;
    ::GetIfEntry(&Row);
    return ToWide(FieldText(reinterpret_cast<const char(&)[MAXLEN_IFDESCR]>(Row.bDescr)));
}

// A table of the platform's. Throws when one of the two calls fails, each with its record.
template <typename Call>
CSizedRead Fetch(const CFunctionLog& log, const Call& call, CFormat<DWORD> askFailed, CFormat<DWORD> readFailed)
{
    CSizedRead table(ERROR_INSUFFICIENT_BUFFER);
    DWORD dwStatus = table.AskSize(call);
    if (dwStatus != ERROR_INSUFFICIENT_BUFFER)
        ThrowWin32(log, dwStatus, askFailed);
    if (!table.Allocate())
        log.Throw(E_OUTOFMEMORY);
    dwStatus = table.Read(call);
    if (dwStatus != NO_ERROR)
        ThrowWin32(log, dwStatus, readFailed);
    return table;
}

} // namespace

HRESULT CNetworkInfoCollector::Collect(const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        CreateOutputFolder(log, sOutDirPath);
        m_ResultLog.OpenOrThrow(log, JoinPath(sOutDirPath, L"NetworkInfo.txt"), true);
        m_ResultLog.WriteSeparator();
        Tolerate(log, collectIpAddress(), L"collectIpAddress() failed. [0x%08X]");
        m_ResultLog.WriteSeparator();
        Tolerate(log, collectWlanInfo(), L"collectWlanInfo() failed. [0x%08X]");
        m_ResultLog.WriteSeparator();
        Tolerate(log, collectFirewallInfo(), L"collectFirewallInfo() failed. [0x%08X]");
    });
}

HRESULT CNetworkInfoCollector::collectIpAddress()
{
    CFunctionLog log;
    return log.Run([&] {
        m_ResultLog.WriteLine(L"* Network Adaptor Info");

        const CSizedRead addresses = Fetch(
            log,
            [](BYTE* pBuffer, DWORD& rdwSize) {
                return ::GetIpAddrTable(reinterpret_cast<MIB_IPADDRTABLE*>(pBuffer), &rdwSize, FALSE);
            },
            L"GetIpAddrTable(NULL) failed. [%d]", L"GetIpAddrTable() failed. [%d]");
        const CSizedRead interfaces = Fetch(
            log,
            [](BYTE* pBuffer, DWORD& rdwSize) {
                return ::GetInterfaceInfo(reinterpret_cast<IP_INTERFACE_INFO*>(pBuffer), &rdwSize);
            },
            L"GetInterfaceInfo(NULL) failed. [%d]", L"GetInterfaceInfo() failed. [%d]");
        const auto Addresses = addresses.Rows<MIB_IPADDRROW>(offsetof(MIB_IPADDRTABLE, table), addresses.Count());
        const auto Adapters = interfaces.Rows<IP_ADAPTER_INDEX_MAP>(offsetof(IP_INTERFACE_INFO, Adapter),
                                                                    interfaces.Count());
        m_ResultLog.WriteLine(L"** Network device count is %d", Adapters.size());
        for (const IP_ADAPTER_INDEX_MAP& rAdapter : Adapters)
        {
            m_ResultLog.WriteLine(L"- %ls", DescriptionOf(rAdapter.Index));
            m_ResultLog.WriteLine(L"-- AdapterName : %ls", FieldText(rAdapter.Name));
            m_ResultLog.WriteLine(L"-- IP Address  : %ls", AddressOf(Addresses, rAdapter.Index));
        }
    });
}

std::wstring CNetworkInfoCollector::stringFromGuid(const GUID& rGuid)
{
    const CFunctionLog log;
    return TextOfGuid(rGuid);
}
