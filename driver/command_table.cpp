#include "driver/command_table.h"

#include "driver/commands/commands.h"
#include "driver/text.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace driver {

namespace {

constexpr Command kCommands[] = {
    {L"classfilter", commands::classFilter, Message::ClassFilterShort, Message::ClassFilterHelp},
    {L"classes", commands::classes, Message::ClassesShort, Message::ClassesHelp},
    {L"disable", commands::disable, Message::DisableShort, Message::DisableHelp},
    {L"driverfiles", commands::driverFiles, Message::DriverFilesShort, Message::DriverFilesHelp},
    {L"drivernodes", commands::driverNodes, Message::DriverNodesShort, Message::DriverNodesHelp},
    {L"enable", commands::enable, Message::EnableShort, Message::EnableHelp},
    {L"find", commands::find, Message::FindShort, Message::FindHelp},
    {L"findall", commands::findAll, Message::FindAllShort, Message::FindAllHelp},
    {L"help", commands::help, Message::HelpShort, Message::None},
    {L"hwids", commands::hardwareIds, Message::HardwareIdsShort, Message::HardwareIdsHelp},
    {L"install", commands::install, Message::InstallShort, Message::InstallHelp},
    {L"listclass", commands::listClass, Message::ListClassShort, Message::ListClassHelp},
    {L"reboot", commands::reboot, Message::RebootShort, Message::RebootHelp},
    {L"remove", commands::remove, Message::RemoveShort, Message::RemoveHelp},
    {L"rescan", commands::rescan, Message::RescanShort, Message::RescanHelp},
    {L"resources", commands::resources, Message::ResourcesShort, Message::ResourcesHelp},
    {L"restart", commands::restart, Message::RestartShort, Message::RestartHelp},
    {L"sethwid", commands::setHardwareIds, Message::SetIdsShort, Message::SetIdsHelp},
    {L"stack", commands::stack, Message::StackShort, Message::StackHelp},
    {L"status", commands::status, Message::StatusShort, Message::StatusHelp},
    {L"update", commands::update, Message::UpdateShort, Message::UpdateHelp},
    {L"updateni", commands::updateQuietly, Message::UpdateQuietlyShort, Message::UpdateQuietlyHelp},
    {L"dp_add", commands::addPackage, Message::AddPackageShort, Message::AddPackageHelp},
    {L"dp_delete", commands::deletePackage, Message::DeletePackageShort, Message::DeletePackageHelp},
    {L"dp_enum", commands::listPackages, Message::ListPackagesShort, Message::ListPackagesHelp},
    {L"?", commands::help, Message::None, Message::None},
    {},
};

} // namespace

const Command* commandTable()
{
    return kCommands;
}

std::optional<Access> accessOf(const Command& command)
{
    using namespace commands;
    constexpr decltype(Command::routine) kChanging[] = {classFilter, enable,        disable,       restart,
                                                        remove,      install,       update,        updateQuietly,
                                                        addPackage,  deletePackage, setHardwareIds};
    if (command.routine == help)
        return std::nullopt;
    return std::ranges::find(kChanging, command.routine) == std::end(kChanging) ? Access::Read : Access::Change;
}

decltype(Command::routine) routineFor(const Command& command, const Extras& extras)
{
    using namespace commands;
    using Routine = decltype(Command::routine);
    constexpr std::pair<Routine, Routine> kWithJson[] = {{find, json::find},
                                                         {status, json::status},
                                                         {hardwareIds, json::hardwareIds},
                                                         {driverFiles, json::driverFiles},
                                                         {classes, json::classes},
                                                         {listClass, json::listClass},
                                                         {listPackages, json::listPackages}};
    if (extras.problem && command.routine != find && command.routine != findAll)
        return nullptr;
    if (!extras.json)
        return command.routine;
    const auto* const found =
        std::ranges::find(kWithJson, command.routine, [](const auto& each) { return each.first; });
    return found == std::end(kWithJson) ? nullptr : found->second;
}

const Command* findCommand(std::wstring_view name)
{
    for (const Command* command = kCommands; command->name != nullptr; ++command)
        if (equalIgnoringCase(command->name, name))
            return command;
    return nullptr;
}

} // namespace driver
