#include "support/FakePcDevices.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "platform/CodePage.h"
#include "support/ImportPatch.h"

namespace
{

CFakePcDevices* s_pPc;

// An item of a set, into a record of that size; null, with the last error, where there is none.
const CFakeSetItem* ItemAt(HDEVINFO hSet, DWORD nIndex, DWORD cbRecord)
{
    const auto it = s_pPc->Sets.find(hSet);
    if (it != s_pPc->Sets.end() && cbRecord == 28 && nIndex < it->second.size())
        return &it->second[nIndex];
    ::SetLastError(it == s_pPc->Sets.end() ? ERROR_INVALID_HANDLE : ERROR_NO_MORE_ITEMS);
    return nullptr;
}

// Every function here takes the place of the system's.
struct CCalls
{
    static CONFIGRET WINAPI Property(DEVINST hNode, ULONG ulNumber, ULONG* pulType, void* pBuffer, ULONG* pulSize,
                                     ULONG)
    {
        const CFakeNode* const pNode = s_pPc->Find(hNode);
        if (pNode == nullptr || !pNode->Properties.contains(ulNumber))
            return pNode == nullptr ? CR_INVALID_DEVNODE : CR_NO_SUCH_VALUE;
        const CFakeProperty& rProperty = pNode->Properties.at(ulNumber);
        if (pBuffer != nullptr && rProperty.crLater != CR_SUCCESS)
            return rProperty.crLater;
        const std::string sBytes = pBuffer != nullptr ? rProperty.Later.value_or(rProperty.sBytes) : rProperty.sBytes;
        const ULONG ulRoom = std::exchange(*pulSize, rProperty.dwTold != 0 ? rProperty.dwTold : sBytes.size());
        *pulType = rProperty.ulType;
        if (pBuffer == nullptr || ulRoom < sBytes.size())
            return CR_BUFFER_SMALL;
        std::memcpy(pBuffer, sBytes.data(), sBytes.size());
        return CR_SUCCESS;
    }
    static CONFIGRET WINAPI Locate(DEVINST* phNode, DEVINSTID_W pId, ULONG ulFlags)
    {
        *phNode = 1;
        return s_pPc->Nodes().empty() || pId != nullptr || ulFlags != 0 ? CR_NO_SUCH_DEVNODE : CR_SUCCESS;
    }
    template <char Kind, DEVINST CFakeNode::* Relation>
    static CONFIGRET WINAPI Relate(DEVINST* phRelated, DEVINST hNode, ULONG)
    {
        s_pPc->sRelations += Kind + std::to_string(hNode) + ' ';
        const CFakeNode* const pNode = s_pPc->Find(hNode);
        if (s_pPc->bRelationsUntouched)
            return CR_SUCCESS;
        if (pNode == nullptr || pNode->*Relation == 0)
            return CR_NO_SUCH_DEVNODE;
        *phRelated = pNode->*Relation;
        return CR_SUCCESS;
    }
    static CONFIGRET WINAPI IdSize(ULONG* pulLength, DEVINST hNode, ULONG)
    {
        const CFakeNode* const pNode = s_pPc->Find(hNode);
        *pulLength = pNode != nullptr ? pNode->sId.size() : 0;
        return pNode != nullptr ? CR_SUCCESS : CR_INVALID_DEVNODE;
    }
    static CONFIGRET WINAPI Id(DEVINST hNode, wchar_t* pBuffer, ULONG ulRoom, ULONG)
    {
        return ::lstrcpynW(pBuffer, s_pPc->Find(hNode)->sId.c_str(), static_cast<int>(ulRoom)) != nullptr ? CR_SUCCESS
                                                                                                          : CR_FAILURE;
    }
    static HDEVINFO WINAPI OpenSet(const GUID* pGuid, const wchar_t* pEnumerator, HWND, DWORD dwFlags)
    {
        if (s_pPc->dwSetError != ERROR_SUCCESS && !FailedCall(s_pPc->dwSetError))
            return INVALID_HANDLE_VALUE;
        const auto hSet = reinterpret_cast<HDEVINFO>(++s_pPc->nLastSet);
        std::vector<CFakeSetItem>& rItems = s_pPc->Sets[hSet];
        for (DEVINST hNode = 1; const CFakeNode* pNode = s_pPc->Find(hNode); ++hNode)
        {
            if (((dwFlags & DIGCF_PRESENT) != 0 && !pNode->bPresent) ||
                (pEnumerator != nullptr && !pNode->sId.starts_with(std::wstring(pEnumerator) + L'\\')))
                continue;
            if ((dwFlags & DIGCF_ALLCLASSES) != 0)
                rItems.emplace_back(hNode, nullptr);
            for (const CFakeInterface& rInterface : pNode->Interfaces)
            {
                if ((dwFlags & DIGCF_DEVICEINTERFACE) != 0 && rInterface.Guid == *pGuid)
                    rItems.emplace_back(hNode, &rInterface);
            }
        }
        return hSet;
    }
    static BOOL WINAPI CloseSet(HDEVINFO hSet)
    {
        return s_pPc->Sets.erase(hSet) == 1 ? TRUE : FailedCall(ERROR_INVALID_HANDLE);
    }
    static BOOL WINAPI Device(HDEVINFO hSet, DWORD nIndex, SP_DEVINFO_DATA* pData)
    {
        const CFakeSetItem* const pItem = ItemAt(hSet, nIndex, pData->cbSize);
        pData->DevInst = pItem != nullptr ? pItem->hNode : 0;
        return pItem != nullptr;
    }
    static BOOL WINAPI Interface(HDEVINFO hSet, SP_DEVINFO_DATA*, const GUID* pGuid, DWORD nIndex,
                                 SP_DEVICE_INTERFACE_DATA* pData)
    {
        const CFakeSetItem* const pItem = ItemAt(hSet, nIndex, pData->cbSize);
        pData->Reserved = reinterpret_cast<ULONG_PTR>(pItem);
        return pItem != nullptr && pItem->pInterface->Guid == *pGuid;
    }
    static BOOL WINAPI Detail(HDEVINFO hSet, SP_DEVICE_INTERFACE_DATA* pInterface,
                              SP_DEVICE_INTERFACE_DETAIL_DATA_W* pDetail, DWORD dwRoom, DWORD* pdwNeeded,
                              SP_DEVINFO_DATA* pDevice)
    {
        if (!s_pPc->Sets.contains(hSet) || (pDetail != nullptr && pDetail->cbSize != 6))
            return FailedCall(ERROR_INVALID_HANDLE);
        const auto& rItem = *reinterpret_cast<const CFakeSetItem*>(pInterface->Reserved);
        const std::wstring& rsPath = rItem.pInterface->sPath;
        // A path of one character plays a size that not even the header fits into.
        *pdwNeeded = rsPath.size() == 1 ? 5 : 4 + (rsPath.size() + 1) * sizeof(wchar_t);
        if (pDetail == nullptr || dwRoom < *pdwNeeded)
            return FailedCall(ERROR_INSUFFICIENT_BUFFER);
        std::memcpy(reinterpret_cast<BYTE*>(pDetail) + 4, rsPath.c_str(), *pdwNeeded - 4);
        if (pDevice != nullptr)
            pDevice->DevInst = rItem.hNode;
        return TRUE;
    }
    static BOOL WINAPI DeviceProperty(HDEVINFO hSet, SP_DEVINFO_DATA* pData, DWORD dwNumber, DWORD* pdwType,
                                      BYTE* pBuffer, DWORD dwRoom, DWORD* pdwSize)
    {
        *pdwSize = dwRoom;
        const CONFIGRET cr = Property(pData->DevInst, dwNumber + 1, pdwType, pBuffer, pdwSize, 0);
        const DWORD dwError = cr == CR_BUFFER_SMALL ? ERROR_INSUFFICIENT_BUFFER : ERROR_INVALID_DATA;
        return s_pPc->Sets.contains(hSet) && cr == CR_SUCCESS ? TRUE : FailedCall(dwError);
    }
    static BOOL WINAPI InstanceId(HDEVINFO hSet, SP_DEVINFO_DATA* pData, wchar_t* pBuffer, DWORD dwRoom,
                                  DWORD* pdwNeeded)
    {
        if (!s_pPc->Sets.contains(hSet))
            return FailedCall(ERROR_INVALID_HANDLE);
        const std::wstring& rsId = s_pPc->Find(pData->DevInst)->sId;
        if (pdwNeeded != nullptr)
            *pdwNeeded = rsId.size() + 1;
        return pBuffer != nullptr ? ::lstrcpynW(pBuffer, rsId.c_str(), static_cast<int>(dwRoom)) != nullptr
                                  : FailedCall(ERROR_INSUFFICIENT_BUFFER);
    }

    using Relation = CONFIGRET WINAPI(DEVINST*, DEVINST, ULONG);
    CImportPatch<decltype(Locate)> m_Locate{ "CM_Locate_DevNodeW", Locate };
    CImportPatch<Relation> m_Child{ "CM_Get_Child", Relate<'c', &CFakeNode::hChild> };
    CImportPatch<Relation> m_Sibling{ "CM_Get_Sibling", Relate<'s', &CFakeNode::hSibling> };
    CImportPatch<Relation> m_Parent{ "CM_Get_Parent", Relate<'p', &CFakeNode::hParent> };
    CImportPatch<decltype(Property)> m_Property{ "CM_Get_DevNode_Registry_PropertyW", Property };
    CImportPatch<decltype(IdSize)> m_IdSize{ "CM_Get_Device_ID_Size", IdSize };
    CImportPatch<decltype(Id)> m_Id{ "CM_Get_Device_IDW", Id };
    CImportPatch<decltype(OpenSet)> m_OpenSet{ "SetupDiGetClassDevsW", OpenSet };
    CImportPatch<decltype(CloseSet)> m_CloseSet{ "SetupDiDestroyDeviceInfoList", CloseSet };
    CImportPatch<decltype(Device)> m_Device{ "SetupDiEnumDeviceInfo", Device };
    CImportPatch<decltype(Interface)> m_Interface{ "SetupDiEnumDeviceInterfaces", Interface };
    CImportPatch<decltype(Detail)> m_Detail{ "SetupDiGetDeviceInterfaceDetailW", Detail };
    CImportPatch<decltype(DeviceProperty)> m_DeviceProperty{ "SetupDiGetDeviceRegistryPropertyW", DeviceProperty };
    CImportPatch<decltype(InstanceId)> m_InstanceId{ "SetupDiGetDeviceInstanceIdW", InstanceId };
};

} // namespace

CFakePcDevices::CFakePcDevices()
{
    s_pPc = this;
    m_pCalls = std::make_shared<CCalls>();
}

DEVINST CFakePcDevices::Add(DEVINST hParent, CFakeNode node)
{
    node.hParent = hParent;
    m_Nodes.push_back(std::move(node));
    const DEVINST hNode = m_Nodes.size();
    if (CFakeNode* const pParent = Find(hParent))
    {
        CFakeNode* const pLast = Find(pParent->hLastChild);
        (pLast != nullptr ? pLast->hSibling : pParent->hChild) = hNode;
        pParent->hLastChild = hNode;
    }
    return hNode;
}

void CFakePcDevices::Describe(const std::wstring& sPath, DEVINST hParent)
{
    std::ifstream File(std::filesystem::path{ sPath });
    std::vector<DEVINST> Branch; // from the first parent to the last node
    CFakeProperty* pProperty = nullptr;
    for (std::string sLine, sKey, sText; std::getline(File, sLine);)
    {
        std::istringstream Words(sLine);
        std::size_t nNumber = 0;
        Words >> sKey;
        if (sKey == "node" && Words >> nNumber >> sText)
        {
            Branch.resize(nNumber + 1, hParent);
            Branch.push_back(Add(Branch.back(), { .sId = ToWide(sText), .bPresent = Words.eof() }));
        }
        else if (sKey == "interface" && Words >> sKey >> sText)
        {
            CFakeInterface& rInterface = Find(Branch.back())->Interfaces.emplace_back(GUID{}, ToWide(sText));
            ::IIDFromString(ToWide(sKey).c_str(), &rInterface.Guid);
        }
        else if (sKey == "property" && Words >> nNumber)
        {
            pProperty = &Find(Branch.back())->Properties[nNumber];
            Words >> pProperty->ulType;
            pProperty->sBytes = DescribedBytes(Words);
        }
        else if (sKey == "later")
            pProperty->Later = DescribedBytes(Words);
        else if (sKey == "told")
            Words >> pProperty->dwTold;
        else if (sKey == "fails")
            Words >> pProperty->crLater;
    }
    if (Nodes().empty())
        throw std::runtime_error("no device is described");
}

std::string DescribedBytes(std::istream& rWords)
{
    std::string sBytes, sText;
    char cFirst;
    while (rWords >> cFirst)
    {
        if (cFirst != '"' && cFirst != '\'')
        {
            unsigned nByte = 0;
            rWords.unget() >> std::hex >> nByte;
            sBytes += static_cast<char>(nByte);
            continue;
        }
        std::getline(rWords, sText);
        for (const char c : sText)
            sBytes.append({ c == '|' ? '\0' : c, '\0' }, 0, cFirst == '"' ? 2 : 1);
    }
    return sBytes;
}
