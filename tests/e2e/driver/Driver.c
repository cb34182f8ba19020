/* A kernel driver for Wine that plays a bus: the test names the devices on it, and each control code that a device gets
 * waits until the test has answered it. So real handles of real processes reach the devices that a test describes.
 * Only ntoskrnl may be imported: with any other DLL Wine takes the file for an ordinary one.
 * Wine calls a driver from one thread at a time, so that nothing here is locked. */
#include <ntddk.h>

#include "Relay.h"

enum Kind
{
    KIND_CONTROL,
    KIND_BUS,
    KIND_CHILD
};
enum
{
    MAX_CHILDREN = 32,
    MAX_WAITING = 16
};

typedef struct Extension
{
    enum Kind Kind;
    DEVICE_OBJECT *Lower, *Pdo; /* of the bus */
    ULONG Index;                /* of a child, with what was told of it */
    RelayDevice Device;
    UNICODE_STRING Interface;
} Extension;

static const WCHAR ControlName[] = L"\\Device\\KelvarinTest", ControlLink[] = L"\\DosDevices\\KelvarinTest";

static DRIVER_OBJECT* s_driver;
static DEVICE_OBJECT *s_bus, *s_children[MAX_CHILDREN];
static ULONG s_childCount;
static struct
{
    IRP* Irp; /* null: free */
    ULONG Id, Device;
    BOOLEAN Taken;
} s_waiting[MAX_WAITING];
static ULONG s_lastId;

/* No C library; volatile keeps the compiler from calling for one. */
static void Copy(void* target, const void* source, ULONG size)
{
    volatile UCHAR* t = target;
    const UCHAR* s = source;
    while (size-- != 0)
        *t++ = *s++;
}

static ULONG Length(const WCHAR* text)
{
    ULONG n = 0;
    while (text[n] != 0)
        ++n;
    return n;
}

/* Puts two texts one behind the other into a buffer that has room for them. */
static UNICODE_STRING Joined(WCHAR* buffer, const WCHAR* first, const WCHAR* second)
{
    UNICODE_STRING joined;
    Copy(buffer, first, Length(first) * sizeof(WCHAR));
    Copy(buffer + Length(first), second, (Length(second) + 1) * sizeof(WCHAR));
    RtlInitUnicodeString(&joined, buffer);
    return joined;
}

static NTSTATUS Done(IRP* irp, NTSTATUS status, ULONG_PTR information)
{
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = information;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}

static NTSTATUS WaitForAnswer(IRP* irp, ULONG device)
{
    for (ULONG n = 0; n < MAX_WAITING; ++n)
    {
        if (s_waiting[n].Irp != NULL)
            continue;
        s_waiting[n].Irp = irp;
        s_waiting[n].Id = ++s_lastId;
        s_waiting[n].Device = device;
        s_waiting[n].Taken = FALSE;
        IoMarkIrpPending(irp);
        return STATUS_PENDING;
    }
    return Done(irp, STATUS_DEVICE_BUSY, 0);
}

static NTSTATUS Add(IRP* irp, const RelayDevice* told)
{
    WCHAR nameBuffer[64], linkBuffer[64], number[3];
    UNICODE_STRING name, link;
    DEVICE_OBJECT* child;
    Extension* extension;
    NTSTATUS status;
    if (s_childCount == MAX_CHILDREN || s_bus == NULL)
        return Done(irp, STATUS_DEVICE_NOT_READY, 0);
    number[0] = (WCHAR)(L'0' + s_childCount / 10);
    number[1] = (WCHAR)(L'0' + s_childCount % 10);
    number[2] = 0;
    name = Joined(nameBuffer, ControlName, number);
    status = IoCreateDevice(s_driver, sizeof *extension, &name, FILE_DEVICE_UNKNOWN, 0, FALSE, &child);
    if (status != STATUS_SUCCESS)
        return Done(irp, status, 0);
    extension = child->DeviceExtension;
    extension->Kind = KIND_CHILD;
    extension->Index = s_childCount;
    Copy(&extension->Device, told, sizeof *told);
    child->Flags |= DO_BUFFERED_IO;
    child->Flags &= ~(ULONG)DO_DEVICE_INITIALIZING;
    if (told->DosName[0] != 0)
    {
        link = Joined(linkBuffer, L"\\DosDevices\\", told->DosName);
        IoCreateSymbolicLink(&link, &name);
    }
    s_children[s_childCount++] = child;
    IoInvalidateDeviceRelations(((Extension*)s_bus->DeviceExtension)->Pdo, BusRelations);
    return Done(irp, STATUS_SUCCESS, 0);
}

static NTSTATUS Take(IRP* irp, RelayRequest* request)
{
    for (ULONG n = 0; n < MAX_WAITING; ++n)
    {
        IO_STACK_LOCATION* stack;
        if (s_waiting[n].Irp == NULL || s_waiting[n].Taken)
            continue;
        s_waiting[n].Taken = TRUE;
        stack = IoGetCurrentIrpStackLocation(s_waiting[n].Irp);
        request->Id = s_waiting[n].Id;
        request->Device = s_waiting[n].Device;
        request->Code = stack->Parameters.DeviceIoControl.IoControlCode;
        request->InSize = min(stack->Parameters.DeviceIoControl.InputBufferLength, RELAY_DATA);
        request->OutSize = stack->Parameters.DeviceIoControl.OutputBufferLength;
        Copy(request->In, s_waiting[n].Irp->AssociatedIrp.SystemBuffer, request->InSize);
        return Done(irp, STATUS_SUCCESS, sizeof *request);
    }
    return Done(irp, STATUS_SUCCESS, 0);
}

static NTSTATUS Give(IRP* irp, const RelayAnswer* answer)
{
    for (ULONG n = 0; n < MAX_WAITING; ++n)
    {
        IRP* const waiting = s_waiting[n].Irp;
        ULONG size;
        if (waiting == NULL || s_waiting[n].Id != answer->Id)
            continue;
        s_waiting[n].Irp = NULL;
        size = min(min(answer->OutSize, RELAY_DATA),
                   IoGetCurrentIrpStackLocation(waiting)->Parameters.DeviceIoControl.OutputBufferLength);
        Copy(waiting->AssociatedIrp.SystemBuffer, answer->Out, size);
        /* A status of this form comes out as the Win32 error in its lower half. */
        Done(waiting, answer->Error == 0 ? STATUS_SUCCESS : (NTSTATUS)(0xC0070000u | answer->Error), size);
        return Done(irp, STATUS_SUCCESS, 0);
    }
    return Done(irp, STATUS_NOT_FOUND, 0);
}

static NTSTATUS WINAPI DeviceControl(DEVICE_OBJECT* device, IRP* irp)
{
    const Extension* const extension = device->DeviceExtension;
    const IO_STACK_LOCATION* const stack = IoGetCurrentIrpStackLocation(irp);
    const ULONG in = stack->Parameters.DeviceIoControl.InputBufferLength,
                out = stack->Parameters.DeviceIoControl.OutputBufferLength;
    void* const buffer = irp->AssociatedIrp.SystemBuffer;
    if (extension->Kind == KIND_CHILD)
        return WaitForAnswer(irp, extension->Index);
    if (extension->Kind == KIND_CONTROL)
    {
        switch (stack->Parameters.DeviceIoControl.IoControlCode)
        {
        case RELAY_ADD:
            return in == sizeof(RelayDevice) ? Add(irp, buffer) : Done(irp, STATUS_INVALID_PARAMETER, 0);
        case RELAY_TAKE:
            return out == sizeof(RelayRequest) ? Take(irp, buffer) : Done(irp, STATUS_INVALID_PARAMETER, 0);
        case RELAY_GIVE:
            return in == sizeof(RelayAnswer) ? Give(irp, buffer) : Done(irp, STATUS_INVALID_PARAMETER, 0);
        case RELAY_ASK:
            return WaitForAnswer(irp, RELAY_NO_DEVICE);
        }
    }
    return Done(irp, STATUS_INVALID_DEVICE_REQUEST, 0);
}

static NTSTATUS WINAPI CreateOrClose(DEVICE_OBJECT* device, IRP* irp)
{
    (void)device;
    return Done(irp, STATUS_SUCCESS, 0);
}

/* Answers with a list of one text, which whoever asked frees. */
static NTSTATUS GiveId(IRP* irp, const WCHAR* id)
{
    const ULONG size = (Length(id) + 1) * sizeof(WCHAR);
    WCHAR* const list = ExAllocatePool(PagedPool, size + sizeof(WCHAR));
    if (list == NULL)
        return Done(irp, STATUS_INSUFFICIENT_RESOURCES, 0);
    Copy(list, id, size);
    list[size / sizeof(WCHAR)] = 0;
    return Done(irp, STATUS_SUCCESS, (ULONG_PTR)list);
}

static NTSTATUS PlugAndPlayOfChild(DEVICE_OBJECT* device, IRP* irp, const IO_STACK_LOCATION* stack)
{
    static const GUID none;
    Extension* const extension = device->DeviceExtension;
    switch (stack->MinorFunction)
    {
    case IRP_MN_QUERY_ID:
        return GiveId(irp, stack->Parameters.QueryId.IdType == BusQueryInstanceID ? extension->Device.Instance
                                                                                  : extension->Device.DeviceId);
    case IRP_MN_QUERY_CAPABILITIES:
        /* Its instance is its own, and it needs no driver above this one. */
        stack->Parameters.DeviceCapabilities.Capabilities->UniqueID = 1;
        stack->Parameters.DeviceCapabilities.Capabilities->RawDeviceOK = 1;
        return Done(irp, STATUS_SUCCESS, 0);
    case IRP_MN_START_DEVICE:
        if (RtlCompareMemory(extension->Device.Guid, &none, sizeof none) != sizeof none &&
            IoRegisterDeviceInterface(device, (const GUID*)extension->Device.Guid, NULL, &extension->Interface) ==
                STATUS_SUCCESS)
            IoSetDeviceInterfaceState(&extension->Interface, TRUE);
        return Done(irp, STATUS_SUCCESS, 0);
    case IRP_MN_REMOVE_DEVICE:
    case IRP_MN_SURPRISE_REMOVAL:
        if (extension->Interface.Buffer != NULL)
        {
            IoSetDeviceInterfaceState(&extension->Interface, FALSE);
            RtlFreeUnicodeString(&extension->Interface);
        }
        return Done(irp, STATUS_SUCCESS, 0);
    }
    return Done(irp, irp->IoStatus.Status, irp->IoStatus.Information);
}

static NTSTATUS WINAPI PlugAndPlay(DEVICE_OBJECT* device, IRP* irp)
{
    const Extension* const extension = device->DeviceExtension;
    const IO_STACK_LOCATION* const stack = IoGetCurrentIrpStackLocation(irp);
    if (extension->Kind == KIND_CHILD)
        return PlugAndPlayOfChild(device, irp, stack);
    if (extension->Kind != KIND_BUS)
        return Done(irp, STATUS_NOT_SUPPORTED, 0);
    if (stack->MinorFunction == IRP_MN_QUERY_DEVICE_RELATIONS &&
        stack->Parameters.QueryDeviceRelations.Type == BusRelations)
    {
        DEVICE_RELATIONS* const relations = ExAllocatePool(PagedPool,
                                                           sizeof *relations + MAX_CHILDREN * sizeof(DEVICE_OBJECT*));
        if (relations == NULL)
            return Done(irp, STATUS_INSUFFICIENT_RESOURCES, 0);
        relations->Count = s_childCount;
        for (ULONG n = 0; n < s_childCount; ++n)
        {
            relations->Objects[n] = s_children[n];
            ObfReferenceObject(s_children[n]);
        }
        irp->IoStatus.Information = (ULONG_PTR)relations;
    }
    irp->IoStatus.Status = STATUS_SUCCESS;
    IoSkipCurrentIrpStackLocation(irp);
    if (stack->MinorFunction == IRP_MN_REMOVE_DEVICE)
    {
        DEVICE_OBJECT* const lower = extension->Lower;
        const NTSTATUS status = IoCallDriver(lower, irp);
        IoDetachDevice(lower);
        IoDeleteDevice(device);
        s_bus = NULL;
        return status;
    }
    return IoCallDriver(extension->Lower, irp);
}

static NTSTATUS WINAPI AddBus(DRIVER_OBJECT* driver, DEVICE_OBJECT* pdo)
{
    Extension* extension;
    const NTSTATUS status = IoCreateDevice(driver, sizeof *extension, NULL, FILE_DEVICE_UNKNOWN, 0, FALSE, &s_bus);
    if (status != STATUS_SUCCESS)
        return status;
    extension = s_bus->DeviceExtension;
    extension->Kind = KIND_BUS;
    extension->Pdo = pdo;
    extension->Lower = IoAttachDeviceToDeviceStack(s_bus, pdo);
    s_bus->Flags &= ~(ULONG)DO_DEVICE_INITIALIZING;
    return STATUS_SUCCESS;
}

static void WINAPI Unload(DRIVER_OBJECT* driver)
{
    WCHAR buffer[64];
    UNICODE_STRING link;
    RtlInitUnicodeString(&link, ControlLink);
    IoDeleteSymbolicLink(&link);
    for (ULONG n = 0; n < s_childCount; ++n)
    {
        const Extension* const extension = s_children[n]->DeviceExtension;
        link = Joined(buffer, L"\\DosDevices\\", extension->Device.DosName);
        if (extension->Device.DosName[0] != 0)
            IoDeleteSymbolicLink(&link);
    }
    while (driver->DeviceObject != NULL)
        IoDeleteDevice(driver->DeviceObject);
}

NTSTATUS WINAPI DriverEntry(DRIVER_OBJECT* driver, UNICODE_STRING* path)
{
    UNICODE_STRING name, link;
    DEVICE_OBJECT* control;
    NTSTATUS status;
    (void)path;
    s_driver = driver;
    driver->DriverUnload = Unload;
    driver->DriverExtension->AddDevice = AddBus;
    driver->MajorFunction[IRP_MJ_CREATE] = driver->MajorFunction[IRP_MJ_CLOSE] = CreateOrClose;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = DeviceControl;
    driver->MajorFunction[IRP_MJ_PNP] = PlugAndPlay;
    RtlInitUnicodeString(&name, ControlName);
    RtlInitUnicodeString(&link, ControlLink);
    status = IoCreateDevice(driver, sizeof(Extension), &name, FILE_DEVICE_UNKNOWN, 0, FALSE, &control);
    if (status != STATUS_SUCCESS)
        return status;
    ((Extension*)control->DeviceExtension)->Kind = KIND_CONTROL;
    control->Flags |= DO_BUFFERED_IO;
    control->Flags &= ~(ULONG)DO_DEVICE_INITIALIZING;
    return IoCreateSymbolicLink(&link, &name);
}
