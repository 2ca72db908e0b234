#include "driver/platform/setupapi_objects.h"

#include "driver/platform/setupapi_values.h"

#include <algorithm>
#include <vector>

namespace driver {

namespace {

/// Bytes of a descriptor as the structure that its type has.
template<class Structure>
Structure structureOf(const std::vector<unsigned char>& bytes)
{
    Structure structure{};
    std::memcpy(&structure, bytes.data(), std::min(sizeof(structure), bytes.size()));
    return structure;
}

Resource resourceOf(RESOURCEID type, const std::vector<unsigned char>& bytes)
{
    switch (type) {
    case ResType_Mem: {
        const auto memory = structureOf<MEM_DES>(bytes);
        return {Resource::Kind::Memory, memory.MD_Alloc_Base, memory.MD_Alloc_End};
    }
    case ResType_IO: {
        const auto port = structureOf<IO_DES>(bytes);
        return {Resource::Kind::Port, port.IOD_Alloc_Base, port.IOD_Alloc_End};
    }
    case ResType_DMA:
        return {Resource::Kind::Dma, structureOf<DMA_DES>(bytes).DD_Alloc_Chan, 0};
    case ResType_IRQ:
        return {Resource::Kind::Interrupt, structureOf<IRQ_DES>(bytes).IRQD_Alloc_Num, 0};
    default:
        return {};
    }
}

class SetupConfiguration final : public LogicalConfiguration
{
public:
    SetupConfiguration(LOG_CONF handle, HMACHINE machine) : m_configuration(handle), m_machine(machine) {}

    Outcome<Resource> next() override
    {
        RES_DES next = 0;
        RESOURCEID type = 0;
        const RES_DES from = m_current.get() != 0 ? m_current.get() : m_configuration.get();
        CONFIGRET result = CM_Get_Next_Res_Des_Ex(&next, from, ResType_All, &type, 0, m_machine);
        if (result != CR_SUCCESS)
            return configurationFailure(result);
        m_current = ResDes(next);
        ULONG size = 0;
        result = CM_Get_Res_Des_Data_Size_Ex(&size, next, 0, m_machine);
        if (result != CR_SUCCESS)
            return configurationFailure(result);
        std::vector<unsigned char> bytes(std::max<ULONG>(size, 1));
        result = CM_Get_Res_Des_Data_Ex(next, bytes.data(), size, 0, m_machine);
        if (result != CR_SUCCESS)
            return configurationFailure(result);
        return resourceOf(type, bytes);
    }

private:
    LogConf m_configuration;
    ResDes m_current; ///< empty before the first descriptor
    HMACHINE m_machine;
};

/// The plain function for this machine: Wine has no working one that takes a machine.
CONFIGRET firstConfiguration(LOG_CONF* handle, DEVINST node, ULONG kind, HMACHINE machine)
{
    return machine == nullptr ? CM_Get_First_Log_Conf(handle, node, kind)
                              : CM_Get_First_Log_Conf_Ex(handle, node, kind, machine);
}

} // namespace

Opened<LogicalConfiguration> openSetupConfiguration(DEVINST node, ConfigurationKind kind, HMACHINE machine)
{
    LOG_CONF handle = 0;
    const CONFIGRET result = firstConfiguration(
        &handle, node, kind == ConfigurationKind::Allocated ? ALLOC_LOG_CONF : BOOT_LOG_CONF, machine);
    if (result != CR_SUCCESS)
        return configurationFailure(result);
    return std::make_unique<SetupConfiguration>(handle, machine);
}

} // namespace driver
