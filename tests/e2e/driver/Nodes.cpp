// The configuration manager of a program that the test starts, where Wine's has no tree of nodes: loaded into the
// program, it takes the place of the calls that the program imports, and asks the test through the driver.
#include <windows.h>

#include <cfgmgr32.h>
#include <setupapi.h>

#include <algorithm>
#include <cstring>

#include "Relay.h"

namespace
{

decltype(&::CM_Get_Device_IDW) s_pSystemId;
decltype(&::SetupDiGetDeviceInterfaceDetailW) s_pSystemDetail;

NodeAnswer Ask(NodeFunction eFunction, DEVINST hNode, ULONG ulProperty = 0, ULONG ulRoom = 0,
               const wchar_t* pId = nullptr)
{
    NodeQuestion question{ eFunction, hNode, ulProperty, ulRoom, L"" };
    NodeAnswer answer{ CR_FAILURE, 0, 0, {} };
    if (pId != nullptr)
        ::lstrcpynW(question.Id, pId, ARRAYSIZE(question.Id));
    const HANDLE hTest = ::CreateFileW(L"\\\\.\\KelvarinTest", 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                       OPEN_EXISTING, 0, nullptr);
    DWORD dwReturned = 0;
    ::DeviceIoControl(hTest, RELAY_ASK, &question, sizeof question, &answer, sizeof answer, &dwReturned, nullptr);
    ::CloseHandle(hTest);
    return answer;
}

CONFIGRET Relate(NodeFunction eFunction, DEVINST* phRelated, DEVINST hNode)
{
    const NodeAnswer answer = Ask(eFunction, hNode);
    if (answer.Result == CR_SUCCESS)
        *phRelated = answer.Value;
    return answer.Result;
}

CONFIGRET WINAPI Locate(DEVINST* phNode, DEVINSTID_W pId, ULONG)
{
    const NodeAnswer answer = Ask(NODE_LOCATE, 0, 0, 0, pId);
    if (answer.Result == CR_SUCCESS)
        *phNode = answer.Value;
    return answer.Result;
}
CONFIGRET WINAPI Child(DEVINST* phRelated, DEVINST hNode, ULONG)
{
    return Relate(NODE_CHILD, phRelated, hNode);
}
CONFIGRET WINAPI Sibling(DEVINST* phRelated, DEVINST hNode, ULONG)
{
    return Relate(NODE_SIBLING, phRelated, hNode);
}
CONFIGRET WINAPI Parent(DEVINST* phRelated, DEVINST hNode, ULONG)
{
    return Relate(NODE_PARENT, phRelated, hNode);
}
CONFIGRET WINAPI IdSize(ULONG* pulLength, DEVINST hNode, ULONG)
{
    const NodeAnswer answer = Ask(NODE_ID_SIZE, hNode);
    *pulLength = answer.Value;
    return answer.Result;
}
CONFIGRET WINAPI Id(DEVINST hNode, wchar_t* pBuffer, ULONG ulRoom, ULONG)
{
    const NodeAnswer answer = Ask(NODE_ID, hNode, 0, ulRoom);
    if (answer.Result == CR_SUCCESS)
        std::memcpy(pBuffer, answer.Data, std::min<std::size_t>(ulRoom * sizeof(wchar_t), sizeof answer.Data));
    return answer.Result;
}
CONFIGRET WINAPI Property(DEVINST hNode, ULONG ulProperty, ULONG* pulType, void* pBuffer, ULONG* pulSize, ULONG)
{
    const NodeAnswer answer = Ask(NODE_PROPERTY, hNode, ulProperty, pBuffer != nullptr ? *pulSize : 0);
    if (answer.Result == CR_SUCCESS)
        std::memcpy(pBuffer, answer.Data, std::min<std::size_t>(answer.Value, sizeof answer.Data));
    *pulType = answer.Type;
    *pulSize = answer.Value;
    return answer.Result;
}

// Wine's node numbers end with their set; those of the test last, as they should.
BOOL WINAPI Detail(HDEVINFO hSet, SP_DEVICE_INTERFACE_DATA* pInterface, SP_DEVICE_INTERFACE_DETAIL_DATA_W* pDetail,
                   DWORD dwRoom, DWORD* pdwNeeded, SP_DEVINFO_DATA* pDevice)
{
    const BOOL bSucceeded = s_pSystemDetail(hSet, pInterface, pDetail, dwRoom, pdwNeeded, pDevice);
    wchar_t aId[200];
    if (bSucceeded && pDevice != nullptr && s_pSystemId(pDevice->DevInst, aId, ARRAYSIZE(aId), 0) == CR_SUCCESS)
        Locate(&pDevice->DevInst, aId, 0);
    return bSucceeded;
}

template <typename Function>
bool Find(Function& rpFunction, const char* pName)
{
    rpFunction = reinterpret_cast<Function>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"setupapi"), pName)));
    return rpFunction != nullptr;
}

const struct
{
    const char* pName;
    void* pOwn;
} Calls[] = {
    { "CM_Locate_DevNodeW", reinterpret_cast<void*>(Locate) },
    { "CM_Get_Child", reinterpret_cast<void*>(Child) },
    { "CM_Get_Sibling", reinterpret_cast<void*>(Sibling) },
    { "CM_Get_Parent", reinterpret_cast<void*>(Parent) },
    { "CM_Get_Device_ID_Size", reinterpret_cast<void*>(IdSize) },
    { "CM_Get_Device_IDW", reinterpret_cast<void*>(Id) },
    { "CM_Get_DevNode_Registry_PropertyW", reinterpret_cast<void*>(Property) },
    { "SetupDiGetDeviceInterfaceDetailW", reinterpret_cast<void*>(Detail) },
};

template <typename Record>
Record* At(DWORD dwOffset)
{
    return reinterpret_cast<Record*>(reinterpret_cast<BYTE*>(::GetModuleHandleW(nullptr)) + dwOffset);
}

void TakeOver(const char* pName, void** ppSlot)
{
    for (const auto& rCall : Calls)
    {
        DWORD dwOld = 0;
        if (std::strcmp(rCall.pName, pName) == 0 && ::VirtualProtect(ppSlot, sizeof *ppSlot, PAGE_READWRITE, &dwOld))
            *ppSlot = rCall.pOwn;
    }
}

} // namespace

BOOL WINAPI DllMain(HINSTANCE, DWORD dwReason, void*)
{
    if (dwReason != DLL_PROCESS_ATTACH)
        return TRUE;
    if (!Find(s_pSystemId, "CM_Get_Device_IDW") || !Find(s_pSystemDetail, "SetupDiGetDeviceInterfaceDetailW"))
        return FALSE;
    const auto* const pHeaders = At<IMAGE_NT_HEADERS>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
    const auto* pLibrary = At<IMAGE_IMPORT_DESCRIPTOR>(
        pHeaders->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    for (; pLibrary->Name != 0; ++pLibrary)
    {
        auto* ppSlot = At<void*>(pLibrary->FirstThunk);
        for (const auto* pName = At<DWORD>(pLibrary->OriginalFirstThunk); *pName != 0; ++pName, ++ppSlot)
        {
            if ((*pName & IMAGE_ORDINAL_FLAG32) == 0)
                TakeOver(reinterpret_cast<const char*>(At<IMAGE_IMPORT_BY_NAME>(*pName)->Name), ppSlot);
        }
    }
    return TRUE;
}
