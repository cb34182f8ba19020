#include "config/ComNameTable.h"

#include <objbase.h>

#include <gmock/gmock.h>

#include "config/FakeSystem.h"
#include "support/TestFolder.h"

namespace
{

// A wrong identity makes a healthy object fail; manifests in the field name platform interfaces and nothing else.
TEST(ComNameTable, FindsIdentitiesByName)
{
    const CComNameTable& rTable = CComNameTable::GetTable();
    EXPECT_GE(rTable.Count(), 1709u);
    const std::pair<const wchar_t*, const char*> aCases[] = {
        { L"iunknown", "{00000000-0000-0000-C000-000000000046}" },
        { L"IDISPATCH", "{00020400-0000-0000-C000-000000000046}" },
        { L"IGraphBuilder", "{56A868A9-0AD4-11CE-B03A-0020AF0BA770}" },
        { L"GUID_NULL", "{00000000-0000-0000-0000-000000000000}" },
        { L"IUnknown ", "{00000000-0000-0000-0000-000000000000}" },
        { L"", "{00000000-0000-0000-0000-000000000000}" },
        // One GUID under two names: the first row counts, the other name is unknown.
        { L"FilterGraph", "{E436EBB3-524F-11CE-9F53-0020AF0BA770}" },
        { L"FilgraphManager", "{00000000-0000-0000-0000-000000000000}" },
        // One name for two GUIDs: the lower one, though its row is the later.
        { L"IImgCtx", "{3050F3D6-98B5-11CF-BB82-00AA00BDCE0B}" },
    };
    for (const auto& [pName, pExpected] : aCases)
        EXPECT_EQ(Utf8(GuidText(rTable.Find(pName))), pExpected) << Utf8(pName);
}

} // namespace
