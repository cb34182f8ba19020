#include "hardware/OpdHardwareTree.h"

#include <algorithm>
#include <vector>

#include "hardware/OpdCmApi.h"
#include "hardware/OpdHardwareProperty.h"
#include "opdutility/OpdLogFile.h"

namespace
{

// No line is longer than that, so that a deeper indent need not be made.
std::wstring IndentOf(std::size_t nDepth)
{
    return std::wstring(std::min(nDepth * 6, CLineWriter::MaxText), L' ');
}

// Depth first, without a recursion that a deep tree could drive out of its stack. Children come before siblings, and
// the sibling of a node is asked for when all below the node has been seen.
template <typename Visit>
void WalkTree(DEVINST hNode, const Visit& visit)
{
    std::vector<DEVINST> Ancestors;
    while (hNode != 0)
    {
        visit(hNode, Ancestors.size());
        if (const DEVINST hChild = ChildOf(hNode); hChild != 0)
        {
            Ancestors.push_back(hNode);
            hNode = hChild;
            continue;
        }
        hNode = SiblingOf(hNode);
        while (hNode == 0 && !Ancestors.empty())
        {
            hNode = SiblingOf(Ancestors.back());
            Ancestors.pop_back();
        }
    }
}

} // namespace

HRESULT COpdHardwareTree::DumpDeviceTree(const std::wstring& sPath, bool bBrief)
{
    CFunctionLog log;
    return log.Run([&] {
        COpdLogFile file;
        file.OpenOrThrow(log, sPath);
        WalkTree(RootNode(log), [&](DEVINST hNode, std::size_t nDepth) {
            const std::wstring sIndent = IndentOf(nDepth);
            if (bBrief)
                file.WriteLine(L"%s+ %s", sIndent, NodeName(hNode));
            else
                DumpNode(file, hNode, sIndent);
        });
    });
}

void COpdHardwareTree::DumpNode(COpdLogFile& rFile, DEVINST hNode, const std::wstring& sIndent)
{
    rFile.WriteLine(L"%s%s", sIndent, DumpSeparator);
    for (const CNameRow<ULONG>& rRow : NodeProperties())
    {
        COpdHardwareString::CLines Lines;
        if (GetPropertyLines(hNode, rRow.value, Lines))
            WriteProperty(rFile, sIndent, L"CM_DRP_", rRow.pName, Lines);
    }
    rFile.WriteLine(L"");
}

std::wstring COpdHardwareTree::NodeName(DEVINST hNode)
{
    constexpr ULONG aProperties[] = { CM_DRP_FRIENDLYNAME, CM_DRP_DEVICEDESC, CM_DRP_PHYSICAL_DEVICE_OBJECT_NAME };
    for (const ULONG ulProperty : aProperties)
    {
        COpdHardwareString::CLines Lines;
        if (GetPropertyLines(hNode, ulProperty, Lines) && !Lines.front().empty())
            return Lines.front();
    }
    return {};
}

// False where there is nothing to show, for whatever reason.
bool COpdHardwareTree::GetPropertyLines(DEVINST hNode, ULONG ulProperty, COpdHardwareString::CLines& rLines)
{
    CDeviceProperty property;
    return SUCCEEDED(GetDevNodeRegistryProperty(hNode, ulProperty, property)) && !property.Data.empty() &&
           SUCCEEDED(GetPropertyString(ulProperty, property, rLines)) && !rLines.empty();
}

HRESULT COpdHardwareTree::GetDevNodeRegistryProperty(DEVINST hNode, ULONG ulProperty, CDeviceProperty& rProperty)
{
    CFunctionLog log;
    return log.Run(
        [&] { rProperty = ReadDevNodeProperty(log, hNode, ulProperty, L"CHeapPtr<UINT8>::Allocate( %u ) failed."); });
}

HRESULT COpdHardwareTree::GetPropertyString(ULONG ulProperty, const CDeviceProperty& rProperty,
                                            COpdHardwareString::CLines& rLines)
{
    CFunctionLog log;
    return log.Run([&] { return FormatProperty(log, ulProperty, rProperty, rLines); });
}
