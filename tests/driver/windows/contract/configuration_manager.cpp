// The configuration manager: nodes, their state and resources, machines.
#include "tests/driver/windows/contract/device_sets.h"

#include <vector>

using namespace contract;

namespace {

CONFIGRET idOf(Call&& call, DEVINST node, PWSTR buffer, ULONG length, ULONG flags, HMACHINE machine = nullptr)
{
    call.machine(machine);
    call.must(isNode(node), "there is no node " + std::to_string(node));
    call.must(buffer != nullptr && flags == 0, "the buffer is missing, or flags are set");
    if (const DWORD error = call.wanted())
        return error;
    return call.copies(idOfNode(node), buffer, length, nullptr) ? CR_SUCCESS : CR_BUFFER_SMALL;
}

CONFIGRET statusOf(Call&& call, PULONG status, PULONG problem, DEVINST node, ULONG flags, HMACHINE machine = nullptr)
{
    call.machine(machine);
    call.must(isNode(node), "there is no node " + std::to_string(node));
    call.must(status != nullptr && problem != nullptr && flags == 0, "a place is missing, or flags are set");
    *status = node == kRoot + 1 ? DN_ROOT_ENUMERATED | DN_STARTED : DN_HAS_PROBLEM;
    *problem = node == kRoot + 1 ? 0 : 10;
    return call.wanted();
}

CONFIGRET firstConfiguration(Call&& call, PLOG_CONF handle, DEVINST node, ULONG flags, HMACHINE machine = nullptr)
{
    call.machine(machine);
    call.must(isNode(node) && handle != nullptr, "there is no such node, or no place for the handle");
    call.must(flags == ALLOC_LOG_CONF || flags == BOOT_LOG_CONF, "no known kind of configuration");
    if (const DWORD error = call.wanted())
        return error;
    if (node != kRoot + 1 && flags == ALLOC_LOG_CONF)
        return CR_NO_MORE_LOG_CONF;
    *handle = openHandle(Kind::LogicalConfiguration);
    return CR_SUCCESS;
}

/// Every field of a descriptor has a value of its own, so that one that is read for another shows.
struct Descriptor
{
    RESOURCEID type;
    std::vector<BYTE> bytes;
};

template<class Structure>
Descriptor descriptor(RESOURCEID type, const Structure& structure)
{
    const auto* const first = reinterpret_cast<const BYTE*>(&structure);
    return {type, {first, first + sizeof(structure)}};
}

const std::vector<Descriptor>& descriptors()
{
    static const std::vector<Descriptor> all = [] {
        MEM_DES memory{};
        memory.MD_Count = 901;
        memory.MD_Flags = 902;
        memory.MD_Alloc_Base = 0xFEDC00000000;
        memory.MD_Alloc_End = 0xFEDC0000FFFF;
        IO_DES port{};
        port.IOD_Count = 903;
        port.IOD_Alloc_Base = 0x3F8;
        port.IOD_Alloc_End = 0x3FF;
        DMA_DES dma{};
        dma.DD_Count = 905;
        dma.DD_Type = 906;
        dma.DD_Flags = 907;
        dma.DD_Alloc_Chan = 5;
        IRQ_DES irq{};
        irq.IRQD_Count = 908;
        irq.IRQD_Type = 909;
        irq.IRQD_Flags = 910;
        irq.IRQD_Alloc_Num = 11;
        irq.IRQD_Affinity = 912;
        return std::vector<Descriptor>{descriptor(ResType_Mem, memory), descriptor(ResType_IO, port),
                                       descriptor(ResType_DMA, dma), descriptor(ResType_IRQ, irq)};
    }();
    return all;
}

std::map<RES_DES, std::size_t>& descriptorHandles()
{
    static std::map<RES_DES, std::size_t> handles;
    return handles;
}

const Descriptor& descriptorOf(Call& call, RES_DES handle)
{
    call.isOpen(Kind::ResourceDescriptor, handle);
    return descriptors()[descriptorHandles()[handle]];
}

} // namespace

CONFIGRET WINAPI CM_Get_Device_IDW(DEVINST node, PWSTR buffer, ULONG length, ULONG flags)
{
    return idOf(Call("CM_Get_Device_IDW"), node, buffer, length, flags);
}

CONFIGRET WINAPI CM_Get_Device_ID_ExW(DEVINST node, PWSTR buffer, ULONG length, ULONG flags, HMACHINE machine)
{
    return idOf(Call("CM_Get_Device_ID_ExW"), node, buffer, length, flags, machine);
}

CONFIGRET WINAPI CM_Get_DevNode_Status(PULONG status, PULONG problem, DEVINST node, ULONG flags)
{
    return statusOf(Call("CM_Get_DevNode_Status"), status, problem, node, flags);
}

CONFIGRET WINAPI CM_Get_DevNode_Status_Ex(PULONG status, PULONG problem, DEVINST node, ULONG flags, HMACHINE machine)
{
    return statusOf(Call("CM_Get_DevNode_Status_Ex"), status, problem, node, flags, machine);
}

CONFIGRET WINAPI CM_Get_First_Log_Conf(PLOG_CONF handle, DEVINST node, ULONG flags)
{
    return firstConfiguration(Call("CM_Get_First_Log_Conf"), handle, node, flags);
}

CONFIGRET WINAPI CM_Get_First_Log_Conf_Ex(PLOG_CONF handle, DEVINST node, ULONG flags, HMACHINE machine)
{
    return firstConfiguration(Call("CM_Get_First_Log_Conf_Ex"), handle, node, flags, machine);
}

CONFIGRET WINAPI CM_Get_Next_Res_Des_Ex(PRES_DES next, RES_DES from, RESOURCEID resource, PRESOURCEID type, ULONG flags,
                                        HMACHINE machine)
{
    Call call("CM_Get_Next_Res_Des_Ex");
    call.machine(machine);
    call.must(next != nullptr && type != nullptr && resource == ResType_All && flags == 0,
              "not every descriptor is asked for, or a place for it is missing");
    const auto found = descriptorHandles().find(from);
    if (found == descriptorHandles().end())
        call.isOpen(Kind::LogicalConfiguration, from);
    else
        call.isOpen(Kind::ResourceDescriptor, from);
    const std::size_t index = found == descriptorHandles().end() ? 0 : found->second + 1;
    if (const DWORD error = call.wanted())
        return error;
    if (index >= descriptors().size())
        return CR_NO_MORE_RES_DES;
    *next = openHandle(Kind::ResourceDescriptor);
    descriptorHandles()[*next] = index;
    *type = descriptors()[index].type;
    return CR_SUCCESS;
}

CONFIGRET WINAPI CM_Get_Res_Des_Data_Size_Ex(PULONG size, RES_DES handle, ULONG flags, HMACHINE machine)
{
    Call call("CM_Get_Res_Des_Data_Size_Ex");
    call.machine(machine);
    const Descriptor& descriptor = descriptorOf(call, handle);
    call.must(size != nullptr && flags == 0, "the place for the size is missing, or flags are set");
    *size = static_cast<ULONG>(descriptor.bytes.size());
    return call.wanted();
}

CONFIGRET WINAPI CM_Get_Res_Des_Data_Ex(RES_DES handle, PVOID buffer, ULONG length, ULONG flags, HMACHINE machine)
{
    Call call("CM_Get_Res_Des_Data_Ex");
    call.machine(machine);
    const Descriptor& descriptor = descriptorOf(call, handle);
    call.must(buffer != nullptr && length == descriptor.bytes.size() && flags == 0,
              "the buffer is not of the data's size");
    memcpy(buffer, descriptor.bytes.data(), std::min<std::size_t>(length, descriptor.bytes.size()));
    return call.wanted();
}

CONFIGRET WINAPI CM_Free_Log_Conf_Handle(LOG_CONF handle)
{
    Call call("CM_Free_Log_Conf_Handle");
    call.closes(Kind::LogicalConfiguration, handle);
    return call.wanted();
}

CONFIGRET WINAPI CM_Free_Res_Des_Handle(RES_DES handle)
{
    Call call("CM_Free_Res_Des_Handle");
    call.closes(Kind::ResourceDescriptor, handle);
    return call.wanted();
}

CONFIGRET WINAPI CM_Connect_MachineW(PCWSTR name, PHMACHINE machine)
{
    Call call("CM_Connect_MachineW");
    call.must(name != nullptr && wcsncmp(name, L"\\\\", 2) == 0 && machine != nullptr, "the name is none of a machine");
    if (const DWORD error = call.wanted())
        return error;
    *machine = opened<HMACHINE>(Kind::Machine);
    return CR_SUCCESS;
}

CONFIGRET WINAPI CM_Disconnect_Machine(HMACHINE machine)
{
    Call call("CM_Disconnect_Machine");
    call.closes(Kind::Machine, machine);
    return call.wanted();
}

CONFIGRET WINAPI CM_Locate_DevNode_ExW(PDEVINST node, DEVINSTID_W id, ULONG flags, HMACHINE machine)
{
    Call call("CM_Locate_DevNode_ExW");
    call.machine(machine);
    call.must(node != nullptr && id == nullptr && flags == CM_LOCATE_DEVNODE_NORMAL, "the root is not asked for");
    if (const DWORD error = call.wanted())
        return error;
    *node = kRoot;
    return CR_SUCCESS;
}

CONFIGRET WINAPI CM_Reenumerate_DevNode_Ex(DEVINST node, ULONG flags, HMACHINE machine)
{
    Call call("CM_Reenumerate_DevNode_Ex");
    call.machine(machine);
    call.must(node == kRoot, "node " + std::to_string(node) + " is not the root that was located");
    call.must(flags == 0, "unknown flags");
    return call.wanted();
}
