/* A kernel driver for Wine whose devices give the answers that the test has recorded, so that real handles of any
 * process reach the devices that a test describes. The answers stand in the registry, as the value "Answers" of the
 * driver's service. Only ntoskrnl may be imported: with any other DLL Wine takes the file for an ordinary one. */
#include <ntddk.h>

enum
{
    DEVICE_COUNT = 16
};

/* One answer; behind it the bytes of the request, then those of the answer. */
typedef struct Answer
{
    ULONG Device, Code, Error, InSize, OutRoom, OutSize;
    UCHAR Bytes[1];
} Answer;
#define HEAD_SIZE FIELD_OFFSET(Answer, Bytes)

/* How the registry gives the value. */
static union
{
    KEY_VALUE_PARTIAL_INFORMATION Value;
    UCHAR Room[1 << 20];
} s_answers;

static NTSTATUS Done(IRP* irp, NTSTATUS status, ULONG size)
{
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = size;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}

static NTSTATUS WINAPI CreateOrClose(DEVICE_OBJECT* device, IRP* irp)
{
    (void)device;
    return Done(irp, STATUS_SUCCESS, 0);
}

static NTSTATUS WINAPI DeviceControl(DEVICE_OBJECT* device, IRP* irp)
{
    const IO_STACK_LOCATION* const stack = IoGetCurrentIrpStackLocation(irp);
    const ULONG device_number = *(const ULONG*)device->DeviceExtension,
                in = stack->Parameters.DeviceIoControl.InputBufferLength,
                out = stack->Parameters.DeviceIoControl.OutputBufferLength;
    void* const buffer = irp->AssociatedIrp.SystemBuffer;
    const UCHAR *p = s_answers.Value.Data, *end = p + s_answers.Value.DataLength;
    while (p < end)
    {
        const Answer* const answer = (const Answer*)p;
        p += HEAD_SIZE + answer->InSize + answer->OutSize;
        if (answer->Device == device_number && answer->Code == stack->Parameters.DeviceIoControl.IoControlCode &&
            answer->InSize == in && answer->OutRoom == out && RtlCompareMemory(answer->Bytes, buffer, in) == in)
        {
            RtlMoveMemory(buffer, answer->Bytes + in, answer->OutSize);
            /* A status of this form comes out as the Win32 error in its lower half. */
            return Done(irp, answer->Error == 0 ? STATUS_SUCCESS : (NTSTATUS)(0xC0070000u | answer->Error),
                        answer->OutSize);
        }
    }
    return Done(irp, STATUS_INVALID_DEVICE_REQUEST, 0);
}

static void WINAPI Unload(DRIVER_OBJECT* driver)
{
    while (driver->DeviceObject != NULL)
        IoDeleteDevice(driver->DeviceObject);
}

static NTSTATUS ReadAnswers(UNICODE_STRING* service)
{
    UNICODE_STRING name;
    OBJECT_ATTRIBUTES attributes;
    HANDLE key;
    ULONG size;
    NTSTATUS status;
    InitializeObjectAttributes(&attributes, service, 0, NULL, NULL);
    status = ZwOpenKey(&key, KEY_READ, &attributes);
    if (status != STATUS_SUCCESS)
        return status;
    RtlInitUnicodeString(&name, L"Answers");
    status = ZwQueryValueKey(key, &name, KeyValuePartialInformation, &s_answers, sizeof s_answers, &size);
    ZwClose(key);
    return status;
}

NTSTATUS WINAPI DriverEntry(DRIVER_OBJECT* driver, UNICODE_STRING* service)
{
    WCHAR path[] = L"\\Device\\KelvarinTestA";
    UNICODE_STRING name;
    NTSTATUS status = ReadAnswers(service);
    driver->DriverUnload = Unload;
    driver->MajorFunction[IRP_MJ_CREATE] = driver->MajorFunction[IRP_MJ_CLOSE] = CreateOrClose;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = DeviceControl;
    for (ULONG n = 0; status == STATUS_SUCCESS && n < DEVICE_COUNT; ++n, ++path[20])
    {
        DEVICE_OBJECT* device;
        RtlInitUnicodeString(&name, path);
        status = IoCreateDevice(driver, sizeof(ULONG), &name, FILE_DEVICE_UNKNOWN, 0, FALSE, &device);
        if (status != STATUS_SUCCESS)
            break;
        *(ULONG*)device->DeviceExtension = n;
        device->Flags |= DO_BUFFERED_IO;
        device->Flags &= ~(ULONG)DO_DEVICE_INITIALIZING;
    }
    return status;
}
