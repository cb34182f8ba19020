// A small PC with one of every oddity that a dump can meet. The golden files in tests/data/hardware show it.
#pragma once

#include <string>

#include "support/FakePcDevices.h"
#include "support/TestFolder.h"

// Controller, disk, a drive that is not there any more, and a root without any property.
inline void AddSamplePc(CFakePcDevices& rPc)
{
    constexpr GUID Disk{ 0x53f56307, 0xb6bf, 0x11d0, { 0x94, 0xf2, 0x00, 0xa0, 0xc9, 0x1e, 0xfb, 0x8b } };
    constexpr GUID CdRom{ 0x53f56308, 0xb6bf, 0x11d0, { 0x94, 0xf2, 0x00, 0xa0, 0xc9, 0x1e, 0xfb, 0x8b } };
    using namespace std::string_literals;
    // 56, D0, eight capabilities, latencies, seven states from 0 to 6 (one too many), Hibernate
    const DWORD aPower[] = { 56, 1, 0x1FF, 0, 10, 4000000000, 0, 1, 2, 3, 4, 5, 6, 5 };
    static_assert(sizeof aPower == 56);
    const std::string sPower(reinterpret_cast<const char*>(aPower), sizeof aPower);
    const DEVINST hRoot = rPc.Add(0, { .sId = L"HTREE\\ROOT\\0" });
    const DEVINST hController = rPc.Add(
        hRoot,
        { .sId = L"PCI\\VEN_8086&DEV_A102\\3&1",
          .Properties = { { CM_DRP_DEVICEDESC, FakeText(L"SATA Controller") },
                          { CM_DRP_HARDWAREID, FakeList({ L"PCI\\VEN_8086&DEV_A102", L"PCI\\VEN_8086", L"PCI" }) },
                          { CM_DRP_SERVICE, FakeText(L"storahci") },
                          { CM_DRP_DRIVER, FakeText(L"{4d36e96a}\\0001") },
                          { CM_DRP_CONFIGFLAGS, FakeNumber(0x5001) },
                          { CM_DRP_CAPABILITIES, FakeNumber(0) },
                          { CM_DRP_BUSTYPEGUID, { REG_BINARY, "\x01\xAB\x00"s } },
                          { CM_DRP_DEVICE_POWER_DATA, { REG_BINARY, sPower } },
                          { CM_DRP_INSTALL_STATE, FakeNumber(0) } } });
    rPc.Add(hController,
            { .sId = L"IDE\\DISKACME\\5&2",
              .Properties = { { CM_DRP_DEVICEDESC, FakeText(L"Disk drive") },
                              { CM_DRP_COMPATIBLEIDS, FakeList({}) },
                              { CM_DRP_SERVICE, { REG_SZ, "" } },
                              { CM_DRP_CONFIGFLAGS, { REG_DWORD, "12345678" } },
                              { CM_DRP_FRIENDLYNAME, FakeText(L"ACME SSD 1%") },
                              { CM_DRP_CAPABILITIES, FakeNumber(0x3D4) },
                              { CM_DRP_UI_NUMBER, { REG_DWORD, "12" } },
                              { CM_DRP_UPPERFILTERS, { REG_MULTI_SZ, "a\0b\0\0\0c\0d"s } }, // without its end
                              { CM_DRP_SECURITY, { REG_BINARY, "\x01", nullptr, CR_FAILURE } },
                              { CM_DRP_EXCLUSIVE, { REG_QWORD, "\x78\x56\x34\x12\x01\x02\x03\x04"s } },
                              { CM_DRP_INSTALL_STATE, FakeNumber(9) },
                              { CM_DRP_LOCATION_PATHS, FakeList({ L"PCIROOT(0)", L"ACPI(_SB_)" }) },
                              { CM_DRP_BASE_CONTAINERID, FakeText(L"{00000000}") } },
              .Interfaces = { { Disk, L"\\\\?\\ide#disk" } } });
    rPc.Add(hController,
            { .sId = L"IDE\\CDROM\\5&3",
              .Properties = { { CM_DRP_FRIENDLYNAME, FakeText(L"") },
                              { CM_DRP_PHYSICAL_DEVICE_OBJECT_NAME, FakeText(L"\\Device\\00000042") },
                              { CM_DRP_ADDRESS, { 99, "o\0d\0d\0!"s } } }, // a type without a form, an odd length
              .Interfaces = { { Disk, L"\\\\?\\ide#old" }, { CdRom, L"\\\\?\\ide#cdrom" } },
              .bPresent = false });
    rPc.Add(hRoot,
            { .sId = L"ROOT\\VOLMGR\\0", .Properties = { { CM_DRP_FRIENDLYNAME, FakeText(L"Volume Manager") } } });
}

// The golden file with the line ends of a dump.
inline std::string GoldenDump(const std::wstring& sName)
{
    std::string sText = ReadBytes(TEST_DATA L"\\hardware\\" + sName);
    for (std::size_t n = 0; (n = sText.find('\n', n)) != sText.npos; n += 2)
        sText.insert(n, 1, '\r');
    return sText;
}
