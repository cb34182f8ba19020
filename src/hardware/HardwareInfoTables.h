// The values that the hardware report names, after the platform's headers and the USB and storage standards.
#pragma once

#include "platform/Table.h"
#include "platform/Win32.h"

// STORAGE_BUS_TYPE.
inline constexpr CNameRow<DWORD> BusTypeTable[] = {
    { 0, L"Unknown" },
    { 1, L"SCSI (Small Computer System Interface)" },
    { 2, L"ATAPI (AT Attachment Packet Interface)" },
    { 3, L"ATA (Advanced Technology Attachment)" },
    { 4, L"IEEE 1394" },
    { 5, L"SSA (Serial Storage Architecture)" },
    { 6, L"Fibre Channel" },
    { 7, L"USB" },
    { 8, L"RAID" },
    { 9, L"iSCSI" },
    { 10, L"SAS (Serial Attached SCSI)" },
    { 11, L"SATA (Serial ATA)" },
    { 12, L"SD (Secure Digital)" },
    { 13, L"MMC (Multimedia Card)" },
    { 14, L"Virtual Storage" },
    { 15, L"Virtual File Backed Storage " }, // the blank is part of the report
};
inline constexpr DWORD UsbBusType = 7;

// GetDriveTypeW.
// clang-format off
inline constexpr CNameRow<DWORD> DriveTypeTable[] = {
    { DRIVE_UNKNOWN, L"UNKNOWN" },
    { DRIVE_NO_ROOT_DIR, L"NO ROOT DIR" },
    { DRIVE_REMOVABLE, L"REMOVABLE" },
    { DRIVE_FIXED, L"FIXED" },
    { DRIVE_REMOTE, L"REMOTE" },
    { DRIVE_CDROM, L"CDROM" },
    { DRIVE_RAMDISK, L"RAMDISK" },
};

// GetVolumeInformationW, in the order of the report.
inline constexpr CNameRow<DWORD> FileSystemFlagTable[] = {
    { 0x00000002, L"FS_CASE_IS_PRESERVED" },
    { 0x00000001, L"FS_CASE_SENSITIVE" },
    { 0x00000004, L"FS_UNICODE_STORED_ON_DISK" },
    { 0x00000008, L"FS_PERSISTENT_ACLS" },
    { 0x00000010, L"FS_FILE_COMPRESSION" },
    { 0x00008000, L"FS_VOL_IS_COMPRESSED" },
    { 0x00040000, L"FILE_NAMED_STREAMS" },
    { 0x00020000, L"FILE_SUPPORTS_ENCRYPTION" },
    { 0x00010000, L"FILE_SUPPORTS_OBJECT_IDS" },
    { 0x00000080, L"FILE_SUPPORTS_REPARSE_POINTS" },
    { 0x00000040, L"FILE_SUPPORTS_SPARSE_FILES" },
    { 0x00000020, L"FILE_VOLUME_QUOTAS" },
};
// clang-format on

// USB classes, of devices and of interfaces.
inline constexpr CNameRow<BYTE> UsbClassTextTable[] = {
    { 0, L"Use class information in the Interface Descriptors" },
    { 1, L"Audio" },
    { 2, L"Communications and CDC Control" },
    { 3, L"HID (Human Interface Device)" },
    { 5, L"Physical" },
    { 6, L"Image" },
    { 7, L"Printer" },
    { 8, L"Mass Storage" },
    { 9, L"Hub" },
    { 10, L"CDC-Data" },
    { 11, L"Smart Card" },
    { 13, L"Content Security" },
    { 14, L"Video" },
    { 15, L"Personal Healthcare" },
    { 16, L"Audio/Video Devices" },
    { 220, L"Diagnostic Device" },
    { 224, L"Wireless Controller" },
    { 239, L"Miscellaneous" },
    { 254, L"Application Specific" },
    { 255, L"Vendor Specific" },
};
inline constexpr BYTE UsbClassMassStorage = 8;

inline constexpr CNameRow<BYTE> MassStorageSubclassTable[] = {
    { 0, L"SCSI command set not reported" },
    { 1, L"RBC (Reduced Block Commands)" },
    { 2, L"MMC-5 (ATAPI: Multimedia Commands)" },
    { 3, L"Obsolete (QIC-157)" },
    { 4, L"UFI (USB Floppy Interface)" },
    { 5, L"Obsolete (SFF-8070i)" },
    { 6, L"SCSI transparent command set" },
    { 7, L"LSD FS" },
    { 8, L"IEEE 1667" },
    { 255, L"Specific to device vendor" },
};

inline constexpr CNameRow<BYTE> MassStorageProtocolTable[] = {
    { 0x00, L"Control/Bulk/Interrupt (CBI) Transport (with command completion interrupt)" },
    { 0x01, L"Control/Bulk/Interrupt (CBI) Transport (with no command completion interrupt)" },
    { 0x02, L"Obsolete" },
    { 0x50, L"Bulk-Only (BBB) Transport" },
    { 0x62, L"UAS" },
    { 0xFF, L"Specific to device vendor" },
};
