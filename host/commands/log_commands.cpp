// Commands that read the log, add to it and clear it.
#include "host/commands/log_commands.h"

#include "host/commands/builtin_command.h"
#include "host/core/log_store.h"
#include "host/core/needed_names.h"
#include "host/state/property_table.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include <string>

namespace kzhost {

namespace {

constexpr ArgumentRow logClearArguments[] = {{KZsARG_LOG_SUBSYSTEM, KZsTYPE_STRING, 0, "the subsystem's name"}};
constexpr ArgumentRow logLinesArguments[] = {
    {KZsARG_LOG_SUBSYSTEM, KZsTYPE_STRING, kzOptional | kzQueryable, "the subsystem's name; queried, all names"},
    {KZsARG_LOG_TEXT, KZsTYPE_STRING, kzOptional | kzQueryable, "queried, the lines; given, a line to add"},
    {KZsARG_LOG_COUNT, KZsTYPE_INTEGER, kzOptional | kzQueryable, "queried, how many lines there are"},
};

void clearLog(CLogStore& log, CBuiltinCommand& command) {
    log.subsystem(command.text(KZsARG_LOG_SUBSYSTEM))->log_Clear();
}

void addLogLine(CLogStore& log, CBuiltinCommand& command) {
    if (!command.has(KZsARG_LOG_TEXT))
        kzRefuse(KZe_CMD_MISSING_ARGS, "argument \"text\" is missing; it is the line to add");
    const std::string subsystem = command.text(KZsARG_LOG_SUBSYSTEM);
    log.write(subsystem.empty() ? "commands" : subsystem, KZe_INFO, command.text(KZsARG_LOG_TEXT));
}

Texts queryLog(CLogStore& log, CBuiltinCommand& command, std::uint32_t index) {
    Texts texts;
    if (index == 0) {
        for (const auto& subsystem : log.subsystems()) texts.push_back(subsystem->name());
        return texts;
    }
    const auto lines = log.lines(kzNeedSubsystem(log, command.text(KZsARG_LOG_SUBSYSTEM)));
    if (index == 2) return {std::to_string(lines.size())};
    for (const LogLine& line : lines) texts.push_back(kzWithoutMarkup(line.text));
    return texts;
}

constexpr KzTextValueHint switchHints[] = {{0, "off"}, {1, "on"}, {0, nullptr}};
constexpr ArgumentRow logDebugArguments[] = {
    {"state", KZsTYPE_BOOLEAN, kzQueryable | KZfCMDARG_TOGGLE, "whether developers' lines are shown", switchHints}};

void setLogDebug(CPropertyTable& properties, CBuiltinCommand& command) {
    properties.set("log.debug", command.flag("state") ? "1" : "0");
}
Texts queryLogDebug(CPropertyTable& properties, CBuiltinCommand& /*command*/, std::uint32_t) {
    return {properties.get("log.debug").value_or("0")};
}

}  // namespace

void kzAddLogCommands(CCommandRegistry& registry, const std::shared_ptr<CLogStore>& log,
                      const std::shared_ptr<CPropertyTable>& properties) {
    kzAddCommands(registry, {
                                {KZsCMD_LOG_CLEAR, "Clear Log", "empties a subsystem of the log", KZfCMD_UI,
                                 logClearArguments, kzWith(clearLog, log)},
                                {"log.debug", "Developers' Log", "shows developers' lines or hides them", KZfCMD_UI,
                                 logDebugArguments, kzWith(setLogDebug, properties), kzWith(queryLogDebug, properties),
                                 nullptr, nullptr, 0},
                                {KZsCMD_LOG_LINES, "Log Lines", "reads the log or adds to it", KZfCMD_UI,
                                 logLinesArguments, kzWith(addLogLine, log), kzWith(queryLog, log)},
                            });
}

}  // namespace kzhost
