#include "hardware/OpdCmApi.h"

#include "platform/SizedRead.h"
#include "platform/Text.h"

namespace
{

using Relation = CONFIGRET(WINAPI*)(PDEVINST, DEVINST, ULONG);

// The call may succeed without telling a node.
DEVINST RelatedNode(Relation pRelation, DEVINST hNode)
{
    DEVINST hRelated = 0;
    return pRelation(&hRelated, hNode, 0) == CR_SUCCESS ? hRelated : 0;
}

// The one behind a node without children, as it is read depth first: its sibling, or the nearest of its ancestors'.
DEVINST NextBehind(DEVINST hNode)
{
    while (hNode != 0)
    {
        if (const DEVINST hSibling = SiblingOf(hNode); hSibling != 0)
            return hSibling;
        hNode = ParentOf(hNode);
    }
    return 0;
}

// Throws when a property was there, but had nothing in it.
std::wstring TextOf(const CFunctionLog& log, const CDeviceProperty& rProperty)
{
    if (rProperty.Data.empty())
        log.Fail(E_UNEXPECTED, L"ulDataSize == 0");
    return rProperty.Text();
}

} // namespace

DEVINST RootNode(const CFunctionLog& log)
{
    DEVINST hRoot = 0;
    const CONFIGRET cr = ::CM_Locate_DevNodeW(&hRoot, nullptr, CM_LOCATE_DEVNODE_NORMAL);
    if (cr != CR_SUCCESS)
        log.Fail(E_FAIL, L"::CM_Locate_DevNode( CM_LOCATE_DEVNODE_NORMAL ) failed. [CONFIGRET:0x%08X]", cr);
    return hRoot;
}

DEVINST ChildOf(DEVINST hNode)
{
    return RelatedNode(::CM_Get_Child, hNode);
}

DEVINST SiblingOf(DEVINST hNode)
{
    return RelatedNode(::CM_Get_Sibling, hNode);
}

DEVINST ParentOf(DEVINST hNode)
{
    return RelatedNode(::CM_Get_Parent, hNode);
}

CDeviceProperty ReadDevNodeProperty(const CFunctionLog& log, DEVINST hNode, ULONG ulProperty, CFormat<DWORD> noMemory)
{
    CDeviceProperty property;
    DWORD dwStored = 0;
    const auto Get = [&](BYTE* pBuffer, DWORD& rdwSize) {
        const CONFIGRET cr = ::CM_Get_DevNode_Registry_PropertyW(hNode, ulProperty, &property.ulType, pBuffer, &rdwSize,
                                                                 0);
        dwStored = rdwSize;
        return cr;
    };
    CSizedRead read(CR_BUFFER_SMALL, sizeof(wchar_t));
    if (const CONFIGRET cr = read.AskSize(Get); cr != CR_SUCCESS && cr != CR_BUFFER_SMALL)
        log.Throw(E_FAIL);
    if (!read.Allocate())
        log.Fail(E_OUTOFMEMORY, noMemory, read.Size());
    if (const CONFIGRET cr = read.Read(Get); cr != CR_SUCCESS)
        log.Fail(E_FAIL, L"::CM_Get_DevNode_Registry_Property( 0x%08X ) failed. [CONFIGRET:0x%08X]", ulProperty, cr);
    const auto Stored = read.Rows<BYTE>(0, dwStored);
    property.Data.assign(Stored.begin(), Stored.end());
    return property;
}

HRESULT COpdCmApi::GetDevNodeRegistryProperty(DEVINST hNode, ULONG ulProperty, CDeviceProperty& rProperty)
{
    CFunctionLog log;
    return log.Run([&] {
        rProperty = ReadDevNodeProperty(log, hNode, ulProperty, L"CHeapPtr<UINT8>::AllocateBytes( %u ) failed.");
    });
}

HRESULT COpdCmApi::GetDeviceId(DEVINST hNode, std::wstring& rsId)
{
    CFunctionLog log;
    return log.Run([&] {
        ULONG ulLength = 0;
        if (const CONFIGRET cr = ::CM_Get_Device_ID_Size(&ulLength, hNode, 0); cr != CR_SUCCESS)
            log.Fail(E_FAIL, L"::CM_Get_Device_ID_Size( 0x%08X ) failed. [0x%08X]", hNode, cr);
        // The system's own limit; with it the sum below cannot overflow.
        if (ulLength > MAX_DEVICE_ID_LEN)
            log.Fail(E_OUTOFMEMORY, L"CHeapPtr<TCHAR>::Allocate( %d ) failed.", ulLength);
        std::wstring sId(ulLength + 1, L'\0');
        if (const CONFIGRET cr = ::CM_Get_Device_IDW(hNode, sId.data(), ulLength + 1, 0); cr != CR_SUCCESS)
            log.Fail(E_FAIL, L"::CM_Get_Device_ID( 0x%08X ) failed. [0x%08X]", hNode, cr);
        rsId = UpToZero(sId);
    });
}

HRESULT COpdCmApi::GetDevNodeDriverName(DEVINST hNode, std::wstring& rsName)
{
    CFunctionLog log;
    return log.Run([&] {
        CDeviceProperty property;
        const HRESULT hr = GetDevNodeRegistryProperty(hNode, CM_DRP_DRIVER, property);
        log.Check(hr, L"COpdCmApi::GetDevNodeRegistryProperty( 0x%08X, CM_DRP_DRIVER ) failed. [0x%08X]", hNode);
        rsName = TextOf(log, property);
    });
}

HRESULT COpdCmApi::GetDevNodeDeviceDesc(DEVINST hNode, std::wstring& rsText)
{
    CFunctionLog log;
    return log.Run([&] {
        CDeviceProperty property;
        const HRESULT hr = GetDevNodeRegistryProperty(hNode, CM_DRP_DEVICEDESC, property);
        log.Check(hr, L"COpdCmApi::GetDevNodeRegistryProperty( CM_DRP_DEVICEDESC ) failed. [0x%08X]");
        rsText = TextOf(log, property);
    });
}

HRESULT COpdCmApi::GetDeviceDescByDriverKeyName(const std::wstring& sDriverKey, std::wstring& rsText)
{
    CFunctionLog log;
    return log.Run([&] {
        for (DEVINST hNode = RootNode(log); hNode != 0;)
        {
            std::wstring sName;
            if (SUCCEEDED(GetDevNodeDriverName(hNode, sName)) && EqualsNoCase(sName, sDriverKey))
            {
                log.Check(GetDevNodeDeviceDesc(hNode, rsText), L"COpdCmApi::GetDevNodeDeviceDesc() failed. [0x%08X]");
                return;
            }
            const DEVINST hChild = ChildOf(hNode);
            hNode = hChild != 0 ? hChild : NextBehind(hNode);
        }
        log.Throw(E_FAIL, L"The DevNode couldn't be found. [DriverKeyName:%s]", sDriverKey);
    });
}
