#include "collect/NtServiceCollector.h"

#include "app/KelvarinApp.h"
#include "collect/CollectorUtilFakes.h"

namespace
{

wchar_t* Text(const wchar_t* pText)
{
    return const_cast<wchar_t*>(pText);
}

const struct
{
    ENUM_SERVICE_STATUSW Status;
    DWORD dwStart;
    const wchar_t* pPath;
} Services[] = {
    { { Text(L"Alpha"), Text(L"The \"first\" one"), { 16, 4, 0, 0, 0, 0, 0 } }, 2, L"\"C:\\Program Files\\a.exe\" -k" },
    { { Text(L"Beta"), Text(L""), { 16 | 256, 7, 0, 0, 0, 0, 0 } }, 4, L"" },
    { { Text(L"Gamma"), Text(L"Number %s"), { 32, 1, 0, 0, 0, 0, 0 } }, 3, nullptr },
    { { Text(L"Delta"), Text(L"Delta"), { 2, 6, 0, 0, 0, 0, 0 } }, 9, L"d" },
};

// The list of a living PC, with a service that is installed between the two calls, and the place of the bar at each. A
// service that cannot be opened cuts the list, and a support desk must see where.
TEST(NtServiceCollector, ListsTheServicesUpToTheFirstFailure)
{
    std::size_t nHidden = 2; // appear once the size has been told
    const wchar_t* pLocked = L"none";
    std::string sLeft;
    CProgressDlg& rDialog = CKelvarinApp::GetApp().m_ProgressDlg;

    const auto openManager = FakeImport<decltype(::OpenSCManagerW)>(
        "OpenSCManagerW", [](auto...) { return reinterpret_cast<SC_HANDLE>(1000); });
    // The handle of a service is its number.
    const auto open = FakeImport<decltype(::OpenServiceW)>("OpenServiceW", [&](auto, auto pName, auto) -> SC_HANDLE {
        sLeft += std::to_string(rDialog.GetPercentage()) + "%\r\n";
        ::SetLastError(ERROR_ACCESS_DENIED);
        const auto Named = [&](const auto& rService) { return std::wstring(rService.Status.lpServiceName) == pName; };
        const auto n = std::ranges::find_if(Services, Named) - std::begin(Services);
        return std::wstring(pLocked) == pName ? nullptr : reinterpret_cast<SC_HANDLE>(n + 1);
    });
    const auto close = FakeImport<decltype(::CloseServiceHandle)>("CloseServiceHandle", [](auto) { return TRUE; });
    const auto list = FakeImport<decltype(::EnumServicesStatusW)>(
        "EnumServicesStatusW",
        [&](auto, auto nType, auto nState, auto* pRows, auto nSize, auto* pnNeeded, auto* pnCount, auto* pnResume) {
            EXPECT_TRUE(nType == SERVICE_WIN32 && nState == SERVICE_STATE_ALL && *pnResume == 0);
            const std::size_t nVisible = std::size(Services) - std::exchange(nHidden, 0);
            *pnCount = *pnResume = std::min<DWORD>(nVisible, nSize / sizeof *pRows);
            *pnNeeded = (nVisible - *pnCount) * sizeof *pRows;
            std::transform(Services, Services + *pnCount, pRows, [](const auto& rService) { return rService.Status; });
            return *pnNeeded == 0 || FailWith(ERROR_MORE_DATA);
        });
    const auto config = FakeImport<decltype(::QueryServiceConfigW)>(
        "QueryServiceConfigW", [](auto hService, auto* pConfig, auto nSize, auto* pnNeeded) {
            *pnNeeded = sizeof *pConfig;
            if (nSize < sizeof *pConfig)
                return FailWith(ERROR_INSUFFICIENT_BUFFER);
            const auto& rService = Services[reinterpret_cast<std::size_t>(hService) - 1];
            *pConfig = {};
            pConfig->dwStartType = rService.dwStart;
            pConfig->lpBinaryPathName = Text(rService.pPath);
            return TRUE;
        });

    const CTestFolder folder;
    const CLogWatch watch;
    for (const auto& [hr, pName] : { std::pair(S_OK, L"none"), std::pair(E_ACCESSDENIED, L"Beta") })
    {
        pLocked = pName;
        rDialog.ResetClients();
        EXPECT_EQ(CNtServiceCollector().Collect(folder / pName), hr);
        sLeft += Utf8(rDialog.GetStatusText()) + "\r\n";
    }
    ExpectGolden(L"collect/NtService.txt", Outcome(folder.Path(), watch) + sLeft, folder.Path());
}

} // namespace
