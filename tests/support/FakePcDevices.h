// The device nodes of a PC that a test describes, behind the Configuration Manager and SetupAPI for as long as the
// object lives. One at a time.
#pragma once

#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/Win32.h"

#include <cfgmgr32.h>
#include <setupapi.h>

// What a node answers for one property.
struct CFakeProperty
{
    ULONG ulType = REG_BINARY;
    std::string sBytes = {};
    // The odd ones: other bytes, or a failure, once there is a buffer; a size that is not the true one.
    const char* pLater = nullptr;
    CONFIGRET crLater = CR_SUCCESS;
    DWORD dwTold = 0;
};
// Texts with their terminators, and numbers.
CFakeProperty FakeText(const std::wstring& sText);
CFakeProperty FakeList(std::initializer_list<std::wstring> Texts);
CFakeProperty FakeNumber(DWORD dwValue);

struct CFakeInterface
{
    GUID Guid;
    std::wstring sPath;
};

struct CFakeNode
{
    std::wstring sId = {};                          // "USB\\VID_0000&PID_0000\\5": its first part is the enumerator
    std::map<ULONG, CFakeProperty> Properties = {}; // by CM_DRP_...
    std::vector<CFakeInterface> Interfaces = {};
    bool bPresent = true;
    DEVINST hParent = 0, hChild = 0, hLastChild = 0, hSibling = 0; // kept by Add
};

class CFakePcDevices
{
public:
    CFakePcDevices();
    ~CFakePcDevices();
    CFakePcDevices(const CFakePcDevices&) = delete;
    CFakePcDevices& operator=(const CFakePcDevices&) = delete;

    // The first is the root, with parent 0. Numbers count from 1; device sets have the nodes in this order.
    DEVINST Add(DEVINST hParent, CFakeNode node);
    CFakeNode* Find(DEVINST hNode) { return hNode - 1 < m_Nodes.size() ? &m_Nodes[hNode - 1] : nullptr; }
    const std::vector<CFakeNode>& Nodes() const { return m_Nodes; }

    // What the calls have done.
    std::size_t OpenSets() const;
    std::string sRelations;      // "c1 s1 p1 ": child, sibling, parent of node 1
    std::vector<DWORD> SetFlags; // of SetupDiGetClassDevsW
    // Failures to play.
    CONFIGRET crLocate = CR_SUCCESS;
    DWORD dwSetError = ERROR_SUCCESS;
    bool bRelationsUntouched = false; // relations succeed without telling a node

private:
    struct CPatches;

    std::vector<CFakeNode> m_Nodes;
    std::unique_ptr<CPatches> m_pPatches;
};
