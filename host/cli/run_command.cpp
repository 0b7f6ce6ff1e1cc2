// kzhost cmd: one command string, executed or queried; and kzhost commands.
#include "host/cli/run_command.h"

#include "kz/command.h"

#include "host/cli/debugger.h"
#include "host/cli/interrupt.h"
#include "host/cli/program.h"
#include "host/cli/standard_streams.h"
#include "host/core/command_arguments.h"
#include "host/core/command_dispatcher.h"
#include "host/core/command_text.h"
#include "host/state/text.h"

#include <fmt/format.h>

#include <algorithm>

namespace kzhost {

namespace {

// As "name [value?]": optional ones in brackets, a question mark on those that can be queried.
std::string usageOf(const CCommandRegistry& registry, const std::string& name) {
    if (const auto definition = registry.alias(name)) return "alias of " + *definition;
    std::string usage;
    try {
        CKzUser_Command command;
        const CCommandArguments arguments(*registry.environment()->types, registry.spawn(name, command).raw());
        for (std::uint32_t index = 0; index < arguments.count(); ++index) {
            std::uint32_t flags = 0;
            arguments.command().ArgFlags(index, &flags);
            const std::string argument = arguments.nameOf(index) + ((flags & KZfCMDARG_QUERY) != 0 ? "?" : "");
            usage += (flags & KZfCMDARG_OPTIONAL) != 0 ? "[" + argument + "] " : argument + " ";
        }
    } catch (KzResult code) {
        return "cannot be made: " + kzCodeName(code);
    } catch (const CommandTextError& error) {
        return error.text;
    }
    return usage;
}

}  // namespace

// The log reports failures, on standard error.
int kzRunCommand(CProgram& program, const std::string& text) {
    if (const int status = program.start(); status != exitOk) return status;
    program.wakeInterpreters();
    if (const int status = kzWaitForDebugger(program); status != exitOk) return status;
    const CInterruptScope interrupts;
    const CCommandDispatcher& commands = program.host().commands();
    const CCommandDispatcher::Outcome outcome = commands.perform(text, 0);
    for (const std::string& answer : outcome.answers) CStandardStreams::get().out(answer + "\n");
    if (kzSucceeded(outcome.code)) return exitOk;
    return CInterruptScope::takeInterrupt() ? exitInterrupted : exitFailed;
}

int kzListCommands(CProgram& program) {
    if (const int status = program.start(); status != exitOk) return status;
    program.wakeInterpreters();
    CKzHost& host = program.host();
    const CCommandRegistry& registry = host.commands().registry();
    const std::vector<std::string> names = registry.names();
    std::size_t width = 7;
    for (const std::string& name : names) width = std::max(width, name.size());
    CStandardStreams& streams = CStandardStreams::get();
    streams.print("{:<{}}  {}\n", "command", width, "arguments");
    for (const std::string& name : names) streams.print("{:<{}}  {}\n", name, width, usageOf(registry, name));
    return exitOk;
}

}  // namespace kzhost
