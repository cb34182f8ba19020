// -collect:hardware on a described PC: the devices behind the real program's handles are those of a kernel driver,
// which gives the answers that the fake PC of this process gave to the same components before. The bare machine's
// report is part of every main run (CollectionTest.cpp).
#include <algorithm>
#include <filesystem>
#include <regex>

#include <gmock/gmock.h>

#include "e2e/Program.h"
#include "hardware/HardwareInfoCollector.h"
#include "support/FakePcDevices.h"
#include "support/FakePcIo.h"
#include "support/Golden.h"
#include "support/LogWatch.h"
#include "support/ScratchKey.h"

#include <winsvc.h>
#include <winternl.h>

extern "C" NTSTATUS NTAPI NtCreateSymbolicLinkObject(HANDLE*, ACCESS_MASK, OBJECT_ATTRIBUTES*, UNICODE_STRING*);

namespace
{

using namespace std::string_literals;

// A DOS device that leads to one of the driver's, until the handle is closed. Wine's DefineDosDevice is made for drive
// letters and ports alone.
CKernelHandle MakeDosDevice(const std::wstring& sName, std::size_t nDevice)
{
    const std::wstring sLink = L"\\??\\" + sName;
    const std::wstring sTarget = L"\\Device\\KelvarinTest"s + static_cast<wchar_t>(L'A' + nDevice);
    UNICODE_STRING Link, Target;
    ::RtlInitUnicodeString(&Link, sLink.c_str());
    ::RtlInitUnicodeString(&Target, sTarget.c_str());
    OBJECT_ATTRIBUTES Attributes;
    InitializeObjectAttributes(&Attributes, &Link, OBJ_CASE_INSENSITIVE, nullptr, nullptr);
    CKernelHandle hLink;
    EXPECT_EQ(::NtCreateSymbolicLinkObject(hLink.Put(), STANDARD_RIGHTS_REQUIRED | 1, &Attributes, &Target), 0);
    return hLink;
}

// What the collector makes of the described PC in this process, and all that it asked the devices.
struct CRehearsal
{
    std::vector<std::wstring> Paths{ L"\\\\.\\e:" };
    std::string sAnswers; // as the driver takes them
    std::vector<std::string> Records;

    explicit CRehearsal(const std::wstring& sOut)
    {
        CFakePcDevices devices;
        CFakePcIo io;
        devices.Describe(TEST_DATA L"\\hardware\\UsbPc.txt");
        io.Describe(TEST_DATA L"\\hardware\\UsbPc.txt");
        io.Tamper = [this](const std::wstring& sPath, const CFakeRequest& rRequest, DWORD dwError) {
            auto it = std::ranges::find(Paths, sPath);
            if (it == Paths.end())
                it = Paths.insert(it, sPath);
            const DWORD aHead[] = { static_cast<DWORD>(it - Paths.begin()),
                                    rRequest.dwCode,
                                    dwError,
                                    rRequest.In.size(),
                                    rRequest.Out.size(),
                                    rRequest.dwReturned };
            sAnswers.append(reinterpret_cast<const char*>(aHead), sizeof aHead);
            sAnswers.append(rRequest.In.begin(), rRequest.In.end());
            sAnswers.append(reinterpret_cast<const char*>(rRequest.Out.data()), rRequest.dwReturned);
        };
        const CLogWatch watch;
        EXPECT_EQ(CHardwareInfoCollector().Collect(sOut), S_OK);
        Records = watch.Records();
    }
};

// The driver with the recorded answers. All is gone with the object, so that no other test sees the devices.
class CTestDriver
{
public:
    explicit CTestDriver(const std::string& sAnswers)
    {
        const CServiceHandle hManager(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
        m_hService.Attach(::CreateServiceW(hManager.Get(), L"KelvarinTest", L"KelvarinTest", SERVICE_ALL_ACCESS,
                                           SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                                           L"\\??\\" TEST_DRIVER, nullptr, nullptr, nullptr, nullptr, nullptr));
        ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services\\KelvarinTest", L"Answers",
                          REG_BINARY, sAnswers.data(), sAnswers.size());
        if (!::StartServiceW(m_hService.Get(), 0, nullptr))
            throw std::runtime_error("the driver does not start: " + std::to_string(::GetLastError()));
    }
    ~CTestDriver()
    {
        SERVICE_STATUS Status;
        ::ControlService(m_hService.Get(), SERVICE_CONTROL_STOP, &Status);
        ::DeleteService(m_hService.Get());
    }
    CTestDriver(const CTestDriver&) = delete;
    CTestDriver& operator=(const CTestDriver&) = delete;

private:
    CServiceHandle m_hService;
};

// Without times and handles, which differ from one run to the next. Of the report only the section about the flash
// drive counts: the rest is about the machine below.
std::string Steady(std::string sText)
{
    static const std::regex Times(R"(\[\d+/\d+/\d+ \d+:\d+:\d+\])"), Handles("0x[0-9A-F]{8}(?=\r|,| \\))");
    if (const std::size_t nDrive = sText.find("[Drive(E:)]"); nDrive != sText.npos)
        sText.erase(0, nDrive);
    return std::regex_replace(std::regex_replace(sText, Times, "[time]"), Handles, "0xhandle");
}

// What was recorded about the described devices.
std::vector<std::string> DeviceRecords(std::vector<std::string> Records)
{
    std::erase_if(Records, [](std::string& rsRecord) {
        rsRecord = Steady(rsRecord);
        return !rsRecord.starts_with("[COpd") || rsRecord.starts_with("[COpdStorage"); // other drives
    });
    return Records;
}

// A structure, a code or a handle that only a fake takes: on a real PC the report would be without its devices.
TEST(HardwareOfADescribedPc, IsReportedThroughRealHandlesAsByTheComponentsThatReadIt)
{
    const CInstallation installation;
    const std::wstring sOut = installation.Folder() / L"out", sExpected = installation.Folder() / L"expected";
    const CKernelHandle hDrive = MakeDosDevice(L"E:", 0);
    const CRehearsal rehearsal(sExpected);
    const CTestDriver driver(rehearsal.sAnswers);
    std::vector<CKernelHandle> Names;
    for (std::size_t n = 1; n < rehearsal.Paths.size(); ++n)
        Names.push_back(MakeDosDevice(rehearsal.Paths[n].substr(4), n));
    CScratchKey helper(L"Classes\\CLSID\\{3F662B8C-EFA9-49E4-A353-8F57BE3CCC61}\\InprocServer32");
    helper.SetText(nullptr, TEST_NODES);

    // With the commands to the drives in the trace, and recorded.
    installation.Folder().Write(
        L"Kelvarin.log.xml",
        "<log><FACTORY name='IOutputLogSystemFactory' class='opLogSys::File::COutputLogSystemFactory' location='" +
            Utf8(installation.Folder() / L"trace") +
            "'/><FILTERLIST><FILTER subject='CSptIoCtl' minLevel='0' maxLevel='30'/>"
            "<FILTER subject='CSptIoCtlDebug' minLevel='10' maxLevel='10'/></FILTERLIST></log>");
    EXPECT_EQ(installation.Run(L"-collect:hardware").dwExitCode, 0u);
    std::string sWire = FilesBelow(installation.Folder() / L"trace");
    sWire.erase(0, sWire.find("DeviceIoControl("));
    sWire.resize(std::min(sWire.size(), sWire.find("Status:0 Length")));
    const std::regex Places("\n\\S+ "), Times("\\d{8}_\\d{9}-\\d\\d");
    ExpectGolden(L"hardware\\Wire.txt",
                 std::regex_replace(sWire, Places, "\n") +
                     std::regex_replace(FilesBelow(installation.Folder() / L"log.SCSI"), Times, "time"),
                 L"");
    std::size_t nFiles = 0;
    for (const auto& rEntry : std::filesystem::directory_iterator(sExpected))
    {
        const std::wstring sName = rEntry.path().filename().wstring();
        const std::string sText = Steady(ReadBytes(sExpected + L'\\' + sName));
        EXPECT_EQ(Steady(ReadBytes(sOut + L'\\' + sName)), sText) << Utf8(sName);
        EXPECT_GT(sText.size(), 100u) << Utf8(sName);
        ++nFiles;
    }
    EXPECT_GT(nFiles, 7u);
    std::vector<std::string> Records;
    for (const CLogLine& rLine : installation.LogLines())
        Records.push_back(rLine.sText);
    EXPECT_EQ(DeviceRecords(Records), DeviceRecords(rehearsal.Records));
}

} // namespace
