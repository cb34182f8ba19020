// The device nodes of a PC that a test describes, behind the Configuration Manager and SetupAPI for as long as the
// object lives. One at a time.
#pragma once

#include <istream>
#include <map>
#include <memory>
#include <optional>
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
    std::optional<std::string> Later = {};
    CONFIGRET crLater = CR_SUCCESS;
    DWORD dwTold = 0;
};
// A text with its terminator.
inline CFakeProperty FakeText(const std::wstring& sText)
{
    return { REG_SZ, { reinterpret_cast<const char*>(sText.c_str()), (sText.size() + 1) * sizeof(wchar_t) } };
}
// The rest of a description's line: bytes, and behind a quote the characters of a text, each "|" a zero.
std::string DescribedBytes(std::istream& rWords);

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

struct CFakeSetItem
{
    DEVINST hNode;
    const CFakeInterface* pInterface;
};

class CFakePcDevices
{
public:
    CFakePcDevices();
    CFakePcDevices(const CFakePcDevices&) = delete;
    CFakePcDevices& operator=(const CFakePcDevices&) = delete;

    // Adds the nodes of a text file, whose form tests/data/hardware/SamplePc.txt tells, as a tree of their own or below
    // a node.
    void Describe(const std::wstring& sPath, DEVINST hParent = 0);
    // The first is the root, with parent 0. Numbers count from 1; device sets have the nodes in this order.
    DEVINST Add(DEVINST hParent, CFakeNode node);
    // Null for a number that no node has.
    CFakeNode* Find(DEVINST hNode) { return hNode - 1 < m_Nodes.size() ? &m_Nodes[hNode - 1] : nullptr; }
    const std::vector<CFakeNode>& Nodes() const { return m_Nodes; }

    // What the calls have done.
    std::size_t OpenSets() const { return Sets.size(); }
    std::map<HDEVINFO, std::vector<CFakeSetItem>> Sets;
    ULONG_PTR nLastSet = 0x5E700000;
    std::string sRelations; // "c1 s1 p1 ": child, sibling, parent of node 1
    // Failures to play. Without nodes there is no root.
    DWORD dwSetError = ERROR_SUCCESS;
    bool bRelationsUntouched = false; // relations succeed without telling a node

private:
    std::vector<CFakeNode> m_Nodes;
    std::shared_ptr<void> m_pCalls; // that are patched
};
