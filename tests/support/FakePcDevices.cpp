#include "support/FakePcDevices.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "support/ImportPatch.h"

namespace
{

CFakePcDevices* s_pPc;

std::map<HDEVINFO, std::vector<DEVINST>> s_Sets; // with their members

BOOL Fail(DWORD dwError)
{
    ::SetLastError(dwError);
    return FALSE;
}

// Stores the text with its terminator when there is room for it, in characters.
bool PutText(const std::wstring& sText, wchar_t* pBuffer, DWORD dwRoom)
{
    if (pBuffer == nullptr || dwRoom <= sText.size())
        return false;
    std::memcpy(pBuffer, sText.c_str(), (sText.size() + 1) * sizeof(wchar_t));
    return true;
}

CONFIGRET WINAPI GetProperty(DEVINST hNode, ULONG ulProperty, ULONG* pulType, void* pBuffer, ULONG* pulSize, ULONG)
{
    const CFakeNode* const pNode = s_pPc->Find(hNode);
    if (pNode == nullptr)
        return CR_INVALID_DEVNODE;
    const auto it = pNode->Properties.find(ulProperty);
    if (it == pNode->Properties.end())
        return CR_NO_SUCH_VALUE;
    const CFakeProperty& rProperty = it->second;
    if (pBuffer != nullptr && rProperty.crLater != CR_SUCCESS)
        return rProperty.crLater;
    const std::string sBytes = pBuffer != nullptr && rProperty.pLater != nullptr ? rProperty.pLater : rProperty.sBytes;
    const ULONG ulRoom = std::exchange(*pulSize, rProperty.dwTold != 0 ? rProperty.dwTold : sBytes.size());
    *pulType = rProperty.ulType;
    if (pBuffer == nullptr || ulRoom < sBytes.size())
        return CR_BUFFER_SMALL;
    std::memcpy(pBuffer, sBytes.data(), sBytes.size());
    return CR_SUCCESS;
}

CONFIGRET Relate(char cKind, DEVINST CFakeNode::*pRelation, DEVINST* phRelated, DEVINST hNode)
{
    s_pPc->sRelations += cKind + std::to_string(hNode) + ' ';
    if (s_pPc->bRelationsUntouched)
        return CR_SUCCESS;
    const CFakeNode* const pNode = s_pPc->Find(hNode);
    if (pNode == nullptr || pNode->*pRelation == 0)
        return CR_NO_SUCH_DEVNODE;
    *phRelated = pNode->*pRelation;
    return CR_SUCCESS;
}

CONFIGRET WINAPI LocateDevNode(DEVINST* phNode, DEVINSTID_W pId, ULONG ulFlags)
{
    if (s_pPc->crLocate != CR_SUCCESS)
        return s_pPc->crLocate;
    if (pId != nullptr || ulFlags != CM_LOCATE_DEVNODE_NORMAL || s_pPc->Nodes().empty())
        return CR_NO_SUCH_DEVNODE;
    *phNode = 1;
    return CR_SUCCESS;
}
CONFIGRET WINAPI GetChild(DEVINST* phRelated, DEVINST hNode, ULONG)
{
    return Relate('c', &CFakeNode::hChild, phRelated, hNode);
}
CONFIGRET WINAPI GetSibling(DEVINST* phRelated, DEVINST hNode, ULONG)
{
    return Relate('s', &CFakeNode::hSibling, phRelated, hNode);
}
CONFIGRET WINAPI GetParentNode(DEVINST* phRelated, DEVINST hNode, ULONG)
{
    return Relate('p', &CFakeNode::hParent, phRelated, hNode);
}
// Only nodes that a relation has given are asked for.
CONFIGRET WINAPI GetIdSize(ULONG* pulLength, DEVINST hNode, ULONG)
{
    *pulLength = s_pPc->Find(hNode)->sId.size();
    return CR_SUCCESS;
}
CONFIGRET WINAPI GetId(DEVINST hNode, wchar_t* pBuffer, ULONG ulRoom, ULONG)
{
    return PutText(s_pPc->Find(hNode)->sId, pBuffer, ulRoom) ? CR_SUCCESS : CR_BUFFER_SMALL;
}

HDEVINFO WINAPI GetClassDevs(const GUID* pGuid, const wchar_t* pEnumerator, HWND, DWORD dwFlags)
{
    s_pPc->SetFlags.push_back(dwFlags);
    ::SetLastError(s_pPc->dwSetError);
    if (s_pPc->dwSetError != ERROR_SUCCESS)
        return INVALID_HANDLE_VALUE;
    const auto IsOfClass = [&](const CFakeInterface& rInterface) { return rInterface.Guid == *pGuid; };
    static ULONG_PTR s_nLast = 0x5E700000;
    const auto hSet = reinterpret_cast<HDEVINFO>(++s_nLast);
    std::vector<DEVINST>& rMembers = s_Sets[hSet];
    for (std::size_t n = 0; n < s_pPc->Nodes().size(); ++n)
    {
        const CFakeNode& rNode = s_pPc->Nodes()[n];
        if ((rNode.bPresent || (dwFlags & DIGCF_PRESENT) == 0) &&
            (pEnumerator == nullptr || rNode.sId.starts_with(std::wstring(pEnumerator) + L'\\')) &&
            (pGuid == nullptr || (dwFlags & DIGCF_DEVICEINTERFACE) == 0 ||
             std::ranges::any_of(rNode.Interfaces, IsOfClass)))
            rMembers.push_back(n + 1);
    }
    return hSet;
}
BOOL WINAPI DestroySet(HDEVINFO hSet)
{
    return s_Sets.erase(hSet) == 1 ? TRUE : Fail(ERROR_INVALID_HANDLE);
}
BOOL WINAPI EnumDevices(HDEVINFO hSet, DWORD nIndex, SP_DEVINFO_DATA* pData)
{
    if (!s_Sets.contains(hSet) || pData->cbSize != 28)
        return Fail(ERROR_INVALID_USER_BUFFER);
    const auto& rMembers = s_Sets[hSet];
    if (nIndex >= rMembers.size())
        return Fail(ERROR_NO_MORE_ITEMS);
    pData->DevInst = rMembers[nIndex];
    return TRUE;
}
BOOL WINAPI EnumInterfaces(HDEVINFO hSet, SP_DEVINFO_DATA*, const GUID* pGuid, DWORD nIndex,
                           SP_DEVICE_INTERFACE_DATA* pData)
{
    if (!s_Sets.contains(hSet) || pData->cbSize != 28)
        return Fail(ERROR_INVALID_USER_BUFFER);
    for (const DEVINST hNode : s_Sets[hSet])
    {
        for (const CFakeInterface& rInterface : s_pPc->Find(hNode)->Interfaces)
        {
            if (rInterface.Guid != *pGuid || nIndex-- != 0)
                continue;
            pData->InterfaceClassGuid = *pGuid;
            // Number of the node, and of the interface in it.
            pData->Reserved = hNode * 256 + static_cast<ULONG_PTR>(&rInterface - s_pPc->Find(hNode)->Interfaces.data());
            return TRUE;
        }
    }
    return Fail(ERROR_NO_MORE_ITEMS);
}
BOOL WINAPI GetInterfaceDetail(HDEVINFO hSet, SP_DEVICE_INTERFACE_DATA* pInterface,
                               SP_DEVICE_INTERFACE_DETAIL_DATA_W* pDetail, DWORD dwRoom, DWORD* pdwNeeded,
                               SP_DEVINFO_DATA* pDevice)
{
    if (!s_Sets.contains(hSet) || (pDetail != nullptr && pDetail->cbSize != 6))
        return Fail(ERROR_INVALID_USER_BUFFER);
    const CFakeNode& rNode = *s_pPc->Find(pInterface->Reserved / 256);
    const std::wstring& sPath = rNode.Interfaces[pInterface->Reserved % 256].sPath;
    // A path of one character plays a size that not even the header fits into.
    *pdwNeeded = sPath.size() == 1 ? 5 : 4 + (sPath.size() + 1) * sizeof(wchar_t);
    if (pDetail == nullptr || dwRoom < *pdwNeeded)
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(reinterpret_cast<BYTE*>(pDetail) + 4, sPath.c_str(), *pdwNeeded - 4);
    if (pDevice != nullptr)
        pDevice->DevInst = pInterface->Reserved / 256;
    return TRUE;
}
BOOL WINAPI GetDeviceProperty(HDEVINFO hSet, SP_DEVINFO_DATA* pData, DWORD dwProperty, DWORD* pdwType, BYTE* pBuffer,
                              DWORD dwRoom, DWORD* pdwSize)
{
    if (!s_Sets.contains(hSet))
        return Fail(ERROR_INVALID_HANDLE);
    *pdwSize = dwRoom;
    const CONFIGRET cr = GetProperty(pData->DevInst, dwProperty + 1, pdwType, pBuffer, pdwSize, 0);
    return cr == CR_SUCCESS || Fail(cr == CR_BUFFER_SMALL    ? ERROR_INSUFFICIENT_BUFFER
                                    : cr == CR_NO_SUCH_VALUE ? ERROR_INVALID_DATA
                                                             : ERROR_GEN_FAILURE);
}
BOOL WINAPI GetInstanceId(HDEVINFO, SP_DEVINFO_DATA* pData, wchar_t* pBuffer, DWORD dwRoom, DWORD* pdwNeeded)
{
    const std::wstring& rsId = s_pPc->Find(pData->DevInst)->sId;
    if (pdwNeeded != nullptr)
        *pdwNeeded = rsId.size() + 1;
    return PutText(rsId, pBuffer, dwRoom) ? TRUE : Fail(ERROR_INSUFFICIENT_BUFFER);
}

std::string Bytes(const std::wstring& sText)
{
    return { reinterpret_cast<const char*>(sText.data()), sText.size() * sizeof(wchar_t) };
}

} // namespace

struct CFakePcDevices::CPatches
{
    CImportPatch<decltype(LocateDevNode)> Locate{ "CM_Locate_DevNodeW", LocateDevNode };
    CImportPatch<decltype(GetChild)> Child{ "CM_Get_Child", GetChild };
    CImportPatch<decltype(GetSibling)> Sibling{ "CM_Get_Sibling", GetSibling };
    CImportPatch<decltype(GetParentNode)> Parent{ "CM_Get_Parent", GetParentNode };
    CImportPatch<decltype(GetProperty)> NodeProperty{ "CM_Get_DevNode_Registry_PropertyW", GetProperty };
    CImportPatch<decltype(GetIdSize)> IdSize{ "CM_Get_Device_ID_Size", GetIdSize };
    CImportPatch<decltype(GetId)> Id{ "CM_Get_Device_IDW", GetId };
    CImportPatch<decltype(GetClassDevs)> ClassDevs{ "SetupDiGetClassDevsW", GetClassDevs };
    CImportPatch<decltype(DestroySet)> Destroy{ "SetupDiDestroyDeviceInfoList", DestroySet };
    CImportPatch<decltype(EnumDevices)> Devices{ "SetupDiEnumDeviceInfo", EnumDevices };
    CImportPatch<decltype(EnumInterfaces)> Interfaces{ "SetupDiEnumDeviceInterfaces", EnumInterfaces };
    CImportPatch<decltype(GetInterfaceDetail)> Detail{ "SetupDiGetDeviceInterfaceDetailW", GetInterfaceDetail };
    CImportPatch<decltype(GetDeviceProperty)> DeviceProperty{ "SetupDiGetDeviceRegistryPropertyW", GetDeviceProperty };
    CImportPatch<decltype(GetInstanceId)> InstanceId{ "SetupDiGetDeviceInstanceIdW", GetInstanceId };
};

CFakeProperty FakeText(const std::wstring& sText)
{
    return { REG_SZ, Bytes(sText + L'\0') };
}

CFakeProperty FakeList(std::initializer_list<std::wstring> Texts)
{
    std::wstring sAll;
    for (const std::wstring& sText : Texts)
        sAll += sText + L'\0';
    return { REG_MULTI_SZ, Bytes(sAll + L'\0') };
}

CFakeProperty FakeNumber(DWORD dwValue)
{
    return { REG_DWORD, std::string(reinterpret_cast<const char*>(&dwValue), sizeof dwValue) };
}

CFakePcDevices::CFakePcDevices()
{
    s_pPc = this;
    s_Sets.clear();
    m_pPatches = std::make_unique<CPatches>();
}
CFakePcDevices::~CFakePcDevices() = default;

DEVINST CFakePcDevices::Add(DEVINST hParent, CFakeNode node)
{
    node.hParent = hParent;
    m_Nodes.push_back(std::move(node));
    const DEVINST hNode = m_Nodes.size();
    if (CFakeNode* const pParent = Find(hParent))
    {
        if (CFakeNode* const pLast = Find(pParent->hLastChild))
            pLast->hSibling = hNode;
        else
            pParent->hChild = hNode;
        pParent->hLastChild = hNode;
    }
    return hNode;
}

std::size_t CFakePcDevices::OpenSets() const
{
    return s_Sets.size();
}
