// The descriptors that a hub hands through from the device on one of its ports.
#include "hardware/OpdUsbApi.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "collect/StepResult.h"
#include "log/FunctionLog.h"
#include "platform/Allocation.h"
#include "platform/HResult.h"
#include "platform/Handle.h"

namespace
{

// A request is this head with the descriptor behind it.
constexpr DWORD HeadSize = sizeof(USB_DESCRIPTOR_REQUEST);
static_assert(HeadSize == 12);
constexpr WORD MaxStringLength = 255;

// A device that names text upon text, in language upon language, is asked for no more of them than this.
constexpr std::size_t MaxStrings = 1024;

struct GlobalBlockTraits
{
    using Type = HGLOBAL;
    static Type Invalid() { return nullptr; }
    static void Close(Type h) { ::GlobalFree(h); }
};
using CGlobalBlock = CHandleT<GlobalBlockTraits>;

// Fills the head of a cleared block; the hub itself sets the kind of request.
void FillHead(std::span<BYTE> Block, DWORD dwPort, WORD wValue, WORD wIndex, WORD wLength)
{
    USB_DESCRIPTOR_REQUEST Request{};
    Request.ConnectionIndex = dwPort;
    Request.SetupPacket.wValue = wValue;
    Request.SetupPacket.wIndex = wIndex;
    Request.SetupPacket.wLength = wLength;
    std::memcpy(Block.data(), &Request, HeadSize);
}

BOOL Send(HANDLE hHub, std::span<BYTE> Block, DWORD& rdwReturned)
{
    rdwReturned = 0;
    const auto dwSize = static_cast<DWORD>(Block.size());
    return ::DeviceIoControl(hHub, IOCTL_USB_GET_DESCRIPTOR_FROM_NODE_CONNECTION, Block.data(), dwSize, Block.data(),
                             dwSize, &rdwReturned, nullptr);
}

// Asks for as much of a configuration as the block holds. Gives the total length that the answer tells.
WORD AskConfiguration(const CFunctionLog& log, HANDLE hHub, DWORD dwPort, BYTE nIndex, std::span<BYTE> Block)
{
    const auto wLength = static_cast<WORD>(Block.size() - HeadSize);
    FillHead(Block, dwPort, USB_DESCRIPTOR_MAKE_TYPE_AND_INDEX(USB_CONFIGURATION_DESCRIPTOR_TYPE, nIndex), 0, wLength);
    DWORD dwReturned = 0;
    if (!Send(hHub, Block, dwReturned))
    {
        const HRESULT hr = LastErrorResult();
        log.ThrowCode(hr,
                      L"::DeviceIoControl( 0x%08X, IOCTL_USB_GET_DESCRIPTOR_FROM_NODE_CONNECTION ) failed. [0x%08X]",
                      HandleToULong(hHub));
    }
    if (dwReturned != Block.size())
        log.Throw(E_FAIL,
                  L"::DeviceIoControl( 0x%08X, IOCTL_USB_GET_DESCRIPTOR_FROM_NODE_CONNECTION ) failed. Returned:%d",
                  HandleToULong(hHub), dwReturned);
    return UsbWord(Block, HeadSize + offsetof(USB_CONFIGURATION_DESCRIPTOR, wTotalLength));
}

[[noreturn]] void ThrowTotalLength(const CFunctionLog& log, HANDLE hHub, WORD wTotal)
{
    log.Throw(E_FAIL,
              L"::DeviceIoControl( 0x%08X, IOCTL_USB_GET_DESCRIPTOR_FROM_NODE_CONNECTION ) failed. wTotalLength:0x%02X",
              HandleToULong(hHub), wTotal);
}

// Checks an answer to the request for a string and gives the length of the descriptor in it.
BYTE CheckString(const CFunctionLog& log, CUsbBytes Block, DWORD dwReturned)
{
    const BYTE nLength = Block[HeadSize];
    const BYTE nType = Block[HeadSize + 1];
    if (dwReturned < 2)
        log.Throw(E_FAIL, L"::DeviceIoControl( IOCTL_USB_GET_DESCRIPTOR_FROM_NODE_CONNECTION ) failed. Returned:%d",
                  dwReturned);
    if (nType != USB_STRING_DESCRIPTOR_TYPE)
        log.Throw(E_FAIL,
                  L"::DeviceIoControl( IOCTL_USB_GET_DESCRIPTOR_FROM_NODE_CONNECTION ) failed. bDescriptorType:0x%02X",
                  nType);
    if (nLength != dwReturned - HeadSize || nLength % 2 != 0 || nLength < sizeof(USB_COMMON_DESCRIPTOR))
        log.Throw(E_FAIL, L"::DeviceIoControl( IOCTL_USB_GET_DESCRIPTOR_FROM_NODE_CONNECTION ) failed. bLength:%d",
                  nLength);
    return nLength;
}

// One device's texts on their way into a list.
struct CStringReader
{
    const CFunctionLog& log;
    HANDLE hHub;
    DWORD dwPort;
    std::span<const WORD> LanguageIds;
    COpdUsbApi::CStringList& rList;
    std::size_t nAsked = 0;

    // Index 0 stands for no text. False when the device has been asked for too many.
    bool Read(BYTE nIndex, const wchar_t* pName)
    {
        if (nIndex == 0)
            return true;
        nAsked += LanguageIds.size();
        if (nAsked > MaxStrings)
        {
            log.Warning(L"The device names more than %u strings.", MaxStrings);
            return false;
        }
        Tolerate(log, COpdUsbApi::GetStringDescriptors(hHub, dwPort, nIndex, LanguageIds, rList),
                 L"COpdUsbApi::GetStringDescriptors( 0x%08X, %u, %s ) failed. [0x%08X]", HandleToULong(hHub), dwPort,
                 pName);
        return true;
    }

    // The texts that one record of a configuration names; false ends the walk.
    bool ReadRecord(CUsbBytes Record)
    {
        if (Record[1] == USB_CONFIGURATION_DESCRIPTOR_TYPE)
        {
            if (Record.size() != UsbConfigurationLength)
            {
                log.Assert(L"pCommonDesc->bLength != sizeof(USB_CONFIGURATION_DESCRIPTOR)");
                return false;
            }
            return Read(Record[offsetof(USB_CONFIGURATION_DESCRIPTOR, iConfiguration)], L"iConfiguration");
        }
        if (Record[1] == USB_INTERFACE_DESCRIPTOR_TYPE)
        {
            if (!IsUsbInterfaceLength(Record.size()))
            {
                log.Assert(L"pCommonDesc->bLength != sizeof(USB_INTERFACE_DESCRIPTOR)");
                return false;
            }
            return Read(Record[offsetof(USB_INTERFACE_DESCRIPTOR, iInterface)], L"iInterface");
        }
        return true;
    }
};

} // namespace

HRESULT COpdUsbApi::GetConfigDescriptor(HANDLE hHub, DWORD dwPort, BYTE nIndex, std::vector<BYTE>& rConfiguration)
{
    CFunctionLog log;
    return log.Run([&] {
        std::array<BYTE, HeadSize + UsbConfigurationLength> aFirst{};
        const WORD wTotal = AskConfiguration(log, hHub, dwPort, nIndex, aFirst);
        if (wTotal < UsbConfigurationLength)
            ThrowTotalLength(log, hHub, wTotal);

        const DWORD dwSize = wTotal + HeadSize;
        const CGlobalBlock hBlock(::GlobalAlloc(GPTR, dwSize));
        if (!hBlock)
            log.ThrowCode(LastErrorResult(), L"::GlobalAlloc( GPTR, %d ) failed. [0x%08X]", dwSize);
        const std::span<BYTE> Block(static_cast<BYTE*>(hBlock.Get()), dwSize);
        const WORD wAgain = AskConfiguration(log, hHub, dwPort, nIndex, Block);
        if (wAgain != wTotal)
            ThrowTotalLength(log, hHub, wAgain);
        if (!TryResize(rConfiguration, wTotal))
            log.Throw(E_OUTOFMEMORY, L"ATL::CHeapPtr<UINT8>::AllocateBytes( %d ) failed.", wTotal);
        std::ranges::copy(Block.subspan(HeadSize), rConfiguration.begin());
    });
}

HRESULT COpdUsbApi::GetStringDescriptor(HANDLE hHub, DWORD dwPort, BYTE nIndex, WORD wLanguageId,
                                        SUsbStringDescriptor& rDescriptor)
{
    CFunctionLog log;
    return log.Run([&] {
        std::array<BYTE, HeadSize + MaxStringLength> aBlock{};
        FillHead(aBlock, dwPort, USB_DESCRIPTOR_MAKE_TYPE_AND_INDEX(USB_STRING_DESCRIPTOR_TYPE, nIndex), wLanguageId,
                 MaxStringLength);
        DWORD dwReturned = 0;
        if (!Send(hHub, aBlock, dwReturned))
        {
            const HRESULT hr = LastErrorResult();
            log.Throw(E_FAIL, L"::DeviceIoControl( IOCTL_USB_GET_DESCRIPTOR_FROM_NODE_CONNECTION ) failed. [0x%08X]",
                      hr);
        }
        const CUsbBytes Descriptor = CUsbBytes(aBlock).subspan(HeadSize, CheckString(log, aBlock, dwReturned));
        rDescriptor = { USB_STRING_DESCRIPTOR_TYPE,
                        nIndex,
                        wLanguageId,
                        UsbStringText(Descriptor),
                        { Descriptor.begin(), Descriptor.end() } };
    });
}

HRESULT COpdUsbApi::GetStringDescriptors(HANDLE hHub, DWORD dwPort, BYTE nIndex, std::span<const WORD> LanguageIds,
                                         CStringList& rList)
{
    CFunctionLog log;
    return log.Run([&] {
        for (std::size_t n = 0; n < LanguageIds.size(); ++n)
        {
            SUsbStringDescriptor descriptor;
            const HRESULT hr = GetStringDescriptor(hHub, dwPort, nIndex, LanguageIds[n], descriptor);
            if (SUCCEEDED(hr))
                rList.push_back(std::move(descriptor));
            else
                log.Assert(L"COpdUsbApi::GetStringDescriptor( 0x%08X, %u, %u, %u ) failed. [0x%08X]",
                           HandleToULong(hHub), dwPort, nIndex, n, hr);
        }
    });
}

HRESULT COpdUsbApi::GetAllStringDescriptors(HANDLE hHub, DWORD dwPort, const USB_DEVICE_DESCRIPTOR& rDevice,
                                            CUsbBytes Configuration, CStringList& rList)
{
    CFunctionLog log;
    return log.Run([&] {
        SUsbStringDescriptor languages;
        log.Check(GetStringDescriptor(hHub, dwPort, 0, 0, languages),
                  L"COpdUsbApi::SUsbStringDescriptor( String Descriptor 0 ) failed. [0x%08X]");
        const std::vector<WORD> LanguageIds = UsbLanguages(languages.RawBytes);

        CStringReader reader{ log, hHub, dwPort, LanguageIds, rList };
        reader.Read(rDevice.iManufacturer, L"iManufacturer");
        reader.Read(rDevice.iProduct, L"iProduct");
        reader.Read(rDevice.iSerialNumber, L"iSerialNumber");
        WalkUsbConfiguration(log, Configuration, [&](CUsbBytes Record) { return reader.ReadRecord(Record); });
    });
}
