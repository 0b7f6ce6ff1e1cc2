// Commands for aliases of commands, and what ran before.
#include "host/commands/alias_commands.h"

#include "host/commands/builtin_command.h"
#include "host/core/command_text.h"
#include "host/core/reasons.h"
#include "host/state/command_state.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include <string>

namespace kzhost {

namespace {

constexpr ArgumentRow aliasArguments[] = {
    {KZsARG_ALIAS_NAME, KZsTYPE_STRING, kzQueryable, "the alias; queried, all of them"},
    {KZsARG_ALIAS_COMMAND, KZsTYPE_STRING, kzOptional | kzQueryable, "the command string that it stands for"},
};

void addAlias(const CCommandRegistry& registry, CBuiltinCommand& command) {
    const std::string alias = command.text(KZsARG_ALIAS_NAME);
    const std::string definition = command.text(KZsARG_ALIAS_COMMAND);
    if (definition.empty())
        kzRefuse(KZe_CMD_MISSING_ARGS, "argument \"command\" is missing; it is what the alias stands for");
    if (!kzIsCommandName(alias))
        kzRefuse(KZe_INVALIDARG, "argument \"alias\": \"" + alias +
                                     "\" is not one word without braces and quotes that begins with none of ! ? @");
    if (!registry.addAlias(alias, definition))
        kzRefuse(KZe_CMD_ALREADY_EXISTS, "argument \"alias\": there is a command or alias \"" + alias + "\" already");
}

Texts queryAlias(CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return command.environment().state->aliases();
    const std::string alias = command.text(KZsARG_ALIAS_NAME);
    const auto definition = command.environment().state->alias(alias);
    if (!definition) kzRefuse(KZe_CMD_NOT_ALIASED, kzThereIsNo("alias", alias, command.environment().state->aliases()));
    return {*definition};
}

constexpr ArgumentRow unaliasArguments[] = {{KZsARG_ALIAS_NAME, KZsTYPE_STRING, 0, "the alias"}};

void removeAlias(const CCommandRegistry& registry, CBuiltinCommand& command) {
    const std::string alias = command.text(KZsARG_ALIAS_NAME);
    if (!registry.removeAlias(alias))
        kzRefuse(KZe_CMD_NOT_ALIASED, "argument \"alias\": there is no alias \"" + alias + "\"");
}

constexpr ArgumentRow historyArguments[] = {
    {"lines", KZsTYPE_STRING, kzOptional | kzQueryable, "queried, the commands that ran"}};

Texts queryHistory(CBuiltinCommand& command, std::uint32_t) { return command.environment().state->history(); }

// The registry owns its commands, so they must not own it.
template <class Function> auto withRegistry(const std::shared_ptr<CCommandRegistry>& registry, Function function) {
    return [weak = std::weak_ptr(registry), function](CBuiltinCommand& command) {
        const auto registry = weak.lock();
        if (!registry) throw KZe_NOTAVAILABLE;
        function(*registry, command);
    };
}

}  // namespace

void kzAddAliasCommands(const std::shared_ptr<CCommandRegistry>& registry) {
    kzAddCommands(*registry, {
                                 {KZsCMD_ALIAS_ADD, "Add Alias", "lets a name stand for a command string", KZfCMD_UI,
                                  aliasArguments, withRegistry(registry, addAlias), queryAlias},
                                 {KZsCMD_HISTORY, "History", "what ran before", KZfCMD_UI, historyArguments,
                                  kzOnlyQueried, queryHistory},
                                 {KZsCMD_ALIAS_REMOVE, "Remove Alias", "takes a name back", KZfCMD_UI, unaliasArguments,
                                  withRegistry(registry, removeAlias)},
                             });
}

}  // namespace kzhost
