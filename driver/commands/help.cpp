#include "driver/command_table.h"
#include "driver/commands/commands.h"

namespace driver {

ResultCode commands::help(const CommandContext& context)
{
    context.ignoreAfter(1);
    const bool named = !context.arguments.empty();
    if (const Command* command = named ? findCommand(context.arguments[0]) : nullptr) {
        context.printer.message(command->longHelp, {context.program, context.arguments[0]});
        return kSuccess;
    }
    context.printer.message(named ? Message::HelpUnknownCommand : Message::HelpHead, {context.program});
    for (const Command* row = commandTable(); row->name != nullptr; ++row)
        context.printer.message(row->shortHelp);
    context.printer.text(L"\n");
    return kSuccess;
}

} // namespace driver
