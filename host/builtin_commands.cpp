// The host's own commands: scripts, user values, the log, aliases and units.
#include "host/builtin_command.h"

#include "host/command_center.h"
#include "host/queries.h"
#include "host/scripts.h"
#include "host/server_classes.h"

#include "kz/result.h"
#include "kz/script.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <algorithm>

namespace {

using Texts = std::vector<std::string>;

constexpr std::uint32_t optional = KZfCMDARG_OPTIONAL;
constexpr std::uint32_t queryable = KZfCMDARG_QUERY;

[[noreturn]] void refuse(KzResult code, std::string text) { throw CommandTextError{code, std::move(text)}; }

Texts splitChoices(const std::string& text) {
    Texts choices;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(';', at), text.size());
        if (end > at) choices.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return choices;
}

// user.value

constexpr ArgumentRow userValueArguments[] = {
    {"name", KZsTYPE_STRING, queryable, "the value's name; queried, the names of all values"},
    {"value", KZsTYPE_STRING, optional | queryable, "what it is to be"},
    {"type", KZsTYPE_STRING, optional | queryable, "its type, when it is new"},
    {"choices", KZsTYPE_STRING, optional | queryable, "the words of a choice, as {red;green;blue}"},
    {"delete", KZsTYPE_BOOLEAN, optional, "whether it is to go"},
};

const KzValueType* userValueType(CBuiltinCommand& command, std::uint32_t index) {
    if (index != 1) return nullptr;
    if (const auto known = command.core().userValues.find(command.text("name"))) return known->type;
    return nullptr;
}

Texts userValueChoices(CBuiltinCommand& command, std::uint32_t index) {
    if (index != 1) return {};
    const auto known = command.core().userValues.find(command.text("name"));
    return known ? known->choices : Texts();
}

UserValue newUserValue(CBuiltinCommand& command, const std::string& name) {
    UserValue value;
    const std::string type = command.has("type") ? command.text("type") : KZsTYPE_STRING;
    value.type = kzTypeNamed(command.core(), type);
    if (value.type == nullptr)
        refuse(KZe_CMD_DATATYPE_UNAVAILABLE,
               "argument \"type\": " + kzThereIsNo("value type", type, kzTypeNames(command.core())));
    value.cell = kzCellBy(command.core(), *value.type, [](const auto&) { return KZe_OK; }).value();
    value.choices = splitChoices(command.text("choices"));
    if (type == KZsTYPE_CHOICE && value.choices.empty())
        refuse(KZe_CMD_MISSING_ARGS,
               "argument \"choices\" is missing: the choice \"" + name + "\" needs words, as {red;green}");
    return value;
}

KzCell userValueCell(CHostCore& core, const UserValue& value, const std::string& text) {
    const auto choice = std::find(value.choices.begin(), value.choices.end(), text);
    if (choice != value.choices.end()) return static_cast<std::int32_t>(choice - value.choices.begin());
    const auto cell = kzCellOfText(core, *value.type, text);
    const bool isIn = value.choices.empty() || (cell && kzNumberOf(*cell).value_or(-1) >= 0 &&
                                                *kzNumberOf(*cell) < static_cast<double>(value.choices.size()));
    if (!cell || !isIn)
        refuse(KZe_CMD_ERROR_SETTING_DATATYPE,
               fmt::format("argument \"value\": \"{}\" is not {}", text,
                           value.choices.empty() ? kzExpects(core, *value.type)
                                                 : fmt::format("one of {}", fmt::join(value.choices, ", "))));
    return *cell;
}

void setUserValue(CBuiltinCommand& command) {
    CUserValues& values = command.core().userValues;
    const std::string name = command.text("name");
    const auto known = values.find(name);
    if (name.empty()) refuse(KZe_INVALIDARG, "argument \"name\": a value needs a name");
    if (command.flag("delete")) {
        if (!values.remove(name))
            refuse(KZe_NOTFOUND, "argument \"name\": there is no value \"" + name + "\" to delete");
        return;
    }
    if (known && command.has("type") && command.text("type") != known->type->name)
        refuse(KZe_ALREADYEXISTS, fmt::format("argument \"type\": \"{}\" is of type {} already; delete it first", name,
                                              known->type->name));
    UserValue value = known ? *known : newUserValue(command, name);
    if (command.has("value")) {
        // A choice is held as its number once its words are known.
        const std::string text = command.text("value");
        value.cell = known && command.integer("value") && !known->choices.empty()
                         ? KzCell(*command.integer("value"))
                         : userValueCell(command.core(), value, text);
    }
    values.set(name, std::move(value));
}

Texts queryUserValue(CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return command.core().userValues.names();
    const auto known = command.core().userValues.find(command.text("name"));
    if (!known) return {};
    if (index == 2) return {known->type->name};
    return index == 3 ? known->choices : Texts{kzFormatCell(*known->type, known->cell)};
}

// script.run

constexpr ArgumentRow scriptRunArguments[] = {
    {KZsARG_SCRIPT_FILENAME, KZsTYPE_FILEPATH, 0, "the script's file, as scripts:test.py"},
    {KZsARG_SCRIPT_ARGS, KZsTYPE_STRING, optional, "the script's arguments"},
};

void runScript(CBuiltinCommand& command) {
    const std::string name = command.text(KZsARG_SCRIPT_FILENAME);
    const auto path = kzFindScript(command.core(), name);
    if (!path) refuse(KZe_NOTFOUND, "argument \"fileName\": there is no script \"" + name + "\"");
    std::string problem;
    const auto script = kzReadScript(*path, problem);
    if (!script) refuse(KZe_SCRIPT_ERROR, "argument \"fileName\": " + *path + ": " + problem);
    const KzResult code =
        command.core().scripts.run(command.core(), script, command.core().commands.flags(),
                                   command.text(KZsARG_SCRIPT_ARGS).c_str(), command.run().message().raw());
    if (kzFailed(code)) throw code;
}

// The log

constexpr ArgumentRow logClearArguments[] = {{KZsARG_LOG_SUBSYSTEM, KZsTYPE_STRING, 0, "the subsystem's name"}};
constexpr ArgumentRow logLinesArguments[] = {
    {KZsARG_LOG_SUBSYSTEM, KZsTYPE_STRING, optional | queryable, "the subsystem's name; queried, all names"},
    {KZsARG_LOG_TEXT, KZsTYPE_STRING, optional | queryable, "queried, the lines; given, a line to add"},
    {KZsARG_LOG_COUNT, KZsTYPE_INTEGER, optional | queryable, "queried, how many lines there are"},
};

void clearLog(CBuiltinCommand& command) {
    command.core().log->subsystem(command.text(KZsARG_LOG_SUBSYSTEM))->log_Clear();
}

void addLogLine(CBuiltinCommand& command) {
    if (!command.has(KZsARG_LOG_TEXT))
        refuse(KZe_CMD_MISSING_ARGS, "argument \"text\" is missing; it is the line to add");
    const std::string subsystem = command.text(KZsARG_LOG_SUBSYSTEM);
    command.core().log->write(subsystem.empty() ? "commands" : subsystem, KZe_INFO, command.text(KZsARG_LOG_TEXT));
}

Texts queryLog(CBuiltinCommand& command, std::uint32_t index) {
    CLogStore& log = *command.core().log;
    Texts texts;
    if (index == 0) {
        for (const auto& subsystem : log.subsystems()) texts.push_back(subsystem->name());
        return texts;
    }
    const auto lines = log.lines(command.text(KZsARG_LOG_SUBSYSTEM));
    if (index == 2) return {std::to_string(lines.size())};
    for (const LogLine& line : lines) texts.push_back(kzWithoutMarkup(line.text));
    return texts;
}

constexpr KzTextValueHint switchHints[] = {{0, "off"}, {1, "on"}, {0, nullptr}};
constexpr ArgumentRow logDebugArguments[] = {
    {"state", KZsTYPE_BOOLEAN, queryable | KZfCMDARG_TOGGLE, "whether developers' lines are shown", switchHints}};

void setLogDebug(CBuiltinCommand& command) {
    command.core().properties.set("log.debug", command.flag("state") ? "1" : "0");
}
Texts queryLogDebug(CBuiltinCommand& command, std::uint32_t) {
    return {command.core().properties.get("log.debug").value_or("0")};
}

// Files, units, aliases of commands

constexpr ArgumentRow fileAliasArguments[] = {
    {KZsARG_ALIAS_NAME, KZsTYPE_STRING, queryable, "the alias, without its colon; queried, all of them"},
    {KZsARG_ALIAS_PATH, KZsTYPE_FILEPATH, optional | queryable, "the folder that it stands for; empty removes it"},
};

void setFileAlias(CBuiltinCommand& command) {
    const std::string name = command.text(KZsARG_ALIAS_NAME);
    if (name.empty() || name.find_first_of(":/") != std::string::npos)
        refuse(KZe_INVALIDARG, "argument \"alias\": \"" + name + "\" should be a name without colon and slash");
    if (!command.has(KZsARG_ALIAS_PATH))
        refuse(KZe_CMD_MISSING_ARGS, "argument \"path\" is missing; it is the folder that the alias stands for");
    command.core().files.setAlias(name, command.text(KZsARG_ALIAS_PATH));
}

Texts queryFileAlias(CBuiltinCommand& command, std::uint32_t index) {
    Texts texts;
    for (const auto& [name, path] : command.core().files.aliases())
        if (index == 0) texts.push_back(name);
        else if (name == command.text(KZsARG_ALIAS_NAME)) texts.push_back(path);
    return texts;
}

constexpr const char* unitSystems[] = {KZsUNITSYSTEM_SI, KZsUNITSYSTEM_METRIC, KZsUNITSYSTEM_ENGLISH};
constexpr KzTextValueHint unitHints[] = {
    {0, KZsUNITSYSTEM_SI}, {1, KZsUNITSYSTEM_METRIC}, {2, KZsUNITSYSTEM_ENGLISH}, {0, nullptr}};
constexpr ArgumentRow unitArguments[] = {
    {KZsARG_UNIT_SYSTEM, KZsTYPE_CHOICE, queryable | KZfCMDARG_TOGGLE, "the system of units", unitHints}};

void setUnits(CBuiltinCommand& command) {
    command.core().properties.set("units", unitSystems[command.integer(KZsARG_UNIT_SYSTEM).value_or(0)]);
}

Texts queryUnits(CBuiltinCommand& command, std::uint32_t) {
    const std::string system = command.core().properties.get("units").value_or(KZsUNITSYSTEM_SI);
    return {
        std::to_string(std::find(std::begin(unitSystems), std::end(unitSystems), system) - std::begin(unitSystems))};
}

constexpr ArgumentRow aliasArguments[] = {
    {KZsARG_ALIAS_NAME, KZsTYPE_STRING, queryable, "the alias; queried, all of them"},
    {KZsARG_ALIAS_COMMAND, KZsTYPE_STRING, optional | queryable, "the command string that it stands for"},
};

void addAlias(CBuiltinCommand& command) {
    const std::string alias = command.text(KZsARG_ALIAS_NAME);
    const std::string definition = command.text(KZsARG_ALIAS_COMMAND);
    if (definition.empty())
        refuse(KZe_CMD_MISSING_ARGS, "argument \"command\" is missing; it is what the alias stands for");
    if (!CCommandCenter(command.shared()).addAlias(alias, definition))
        refuse(KZe_CMD_ALREADY_EXISTS, "argument \"alias\": there is a command or alias \"" + alias + "\" already");
}

Texts queryAlias(CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return command.core().commands.aliases();
    const auto definition = command.core().commands.alias(command.text(KZsARG_ALIAS_NAME));
    return definition ? Texts{*definition} : Texts();
}

constexpr ArgumentRow unaliasArguments[] = {{KZsARG_ALIAS_NAME, KZsTYPE_STRING, 0, "the alias"}};

void removeAlias(CBuiltinCommand& command) {
    const std::string alias = command.text(KZsARG_ALIAS_NAME);
    if (!CCommandCenter(command.shared()).removeAlias(alias))
        refuse(KZe_CMD_NOT_ALIASED, "argument \"alias\": there is no alias \"" + alias + "\"");
}

constexpr ArgumentRow historyArguments[] = {
    {"lines", KZsTYPE_STRING, optional | queryable, "queried, the commands that ran"}};

void doNothing(CBuiltinCommand&) { throw KZe_CMD_NOT_EXECUTABLE; }
Texts queryHistory(CBuiltinCommand& command, std::uint32_t) { return command.core().commands.history(); }

constexpr std::uint32_t plain = KZfCMD_UI;
constexpr CommandRow commands[] = {
    {KZsCMD_ALIAS_ADD, "Add Alias", "lets a name stand for a command string", plain, aliasArguments, addAlias,
     queryAlias},
    {KZsCMD_HISTORY, "History", "what ran before", plain, historyArguments, doNothing, queryHistory},
    {KZsCMD_ALIAS_REMOVE, "Remove Alias", "takes a name back", plain, unaliasArguments, removeAlias},
    {KZsCMD_FILE_ALIAS, "File Alias", "lets a name stand for a folder", plain, fileAliasArguments, setFileAlias,
     queryFileAlias},
    {KZsCMD_LOG_CLEAR, "Clear Log", "empties a subsystem of the log", plain, logClearArguments, clearLog},
    {"log.debug", "Developers' Log", "shows developers' lines or hides them", plain, logDebugArguments, setLogDebug,
     queryLogDebug, nullptr, nullptr, 0},
    {KZsCMD_LOG_LINES, "Log Lines", "reads the log or adds to it", plain, logLinesArguments, addLogLine, queryLog},
    {KZsCMD_SCRIPT_RUN, "Run Script", "runs a script file", plain | KZfCMD_SCRIPT, scriptRunArguments, runScript},
    {KZsCMD_UNIT_SYSTEM, "Unit System", "chooses the units in which values are shown", plain, unitArguments, setUnits,
     queryUnits, nullptr, nullptr, 0},
    {KZsCMD_USER_VALUE, "User Value", "defines, sets, asks for and deletes values of any type", plain,
     userValueArguments, setUserValue, queryUserValue, userValueType, userValueChoices},
};

}  // namespace

std::span<const CommandRow> kzPlainCommands() noexcept { return commands; }
