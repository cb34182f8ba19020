// The series of children; none is started here.
#include "collect/CollectInfoManager.h"

#include "collect/CollectorUtilFakes.h"
#include "config/ConfigFile.h"
#include "support/ProgressWatch.h"

namespace
{

// The children read these lines: each blank, quote and folder is part of what they do. A child that fails, or cannot be
// started, costs its own lines; the series goes on.
TEST(CollectInfoManager, StartsEachChildWithItsLine)
{
    constexpr const char* NotStarted = "-collect:asio";
    std::string sLeft;
    for (const auto& [bSilent, pSxsId, pNuvex, pFailing] : { std::tuple(false, L"__None__", L"C:\\nuvex\\", "no child"),
                                                             { true, L"other", L"D:\\", NotStarted },
                                                             { true, L"", L"", "-collect:driver" } })
    {
        CConfigFile config;
        config.m_sSxsId = pSxsId;
        config.m_sRepositoryDirPath = L"  C:\\repo \"x\"\\ ";
        config.m_sNuvexDirPath = pNuvex;
        config.m_sRegistryPath = L" Soft ware\\Key ";
        CProgressWatch progress;
        DWORD dwCode = 0;
        const auto create = FakeImport<decltype(::CreateProcessW)>(
            "CreateProcessW", [&](auto, auto pLine, auto... others) {
                progress.Seen() += "> " + Utf8(pLine) + "\r\n";
                dwCode = Utf8(pLine).find(pFailing) != std::string::npos ? 0x80004005 : 0;
                if (dwCode != 0 && pFailing == NotStarted)
                    return FailedCall(ERROR_FILE_NOT_FOUND);
                // A process that has ended.
                std::get<7>(std::tuple(others...))->hProcess = ::CreateEventW(nullptr, TRUE, TRUE, nullptr);
                return true;
            });
        const auto exitCode = FakeImport<decltype(::GetExitCodeProcess)>("GetExitCodeProcess", [&](auto, auto pdwCode) {
            *pdwCode = dwCode;
            return TRUE;
        });
        const CLogWatch watch;
        EXPECT_EQ(CCollectInfoManager().CollectPcInformation(bSilent, config, L"C:\\p q\\Kelvarin.exe", L"C:\\log",
                                                             L"C:\\log\\Log\\"),
                  S_OK);
        sLeft += progress.Seen() + "== log\r\n" + Joined(watch.Records());
    }
    ExpectGolden(L"collect/Manager.txt", sLeft, L"");
}

} // namespace
