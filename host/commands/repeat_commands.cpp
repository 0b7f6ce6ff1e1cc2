// Commands that let others be executed again in place of what they did before: drags and post mode.
#include "host/commands/repeat_commands.h"

#include "host/commands/builtin_command.h"
#include "host/core/command_dispatcher.h"
#include "host/core/command_repeats.h"
#include "host/core/command_text.h"
#include "host/state/command_state.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include <algorithm>
#include <string>
#include <vector>

namespace kzhost {

namespace {

constexpr KzTextValueHint modeHints[] = {{0, "off"}, {1, "on"}, {0, nullptr}};
constexpr ArgumentRow refireArguments[] = {{"state", KZsTYPE_BOOLEAN, kzQueryable | KZfCMDARG_TOGGLE,
                                            "on: from now on a command undoes what it did when it was executed before",
                                            modeHints}};
constexpr ArgumentRow postModeArguments[] = {{"state", KZsTYPE_BOOLEAN, kzQueryable | KZfCMDARG_TOGGLE,
                                              "on: the last command can be executed again with other arguments",
                                              modeHints}};
constexpr ArgumentRow repeatArguments[] = {
    {"arguments", KZsTYPE_STRING, 0, "the arguments that are different now, as \"size:2\""},
    {"command", KZsTYPE_STRING, KZfCMDARG_READONLY | kzOptional | kzQueryable,
     "queried, the command as it was executed"},
};

CCommandRepeats& repeatsOf(CBuiltinCommand& command) { return *command.environment().repeats; }

void switchDrag(CBuiltinCommand& command) {
    if (command.flag("state")) repeatsOf(command).beginDrag();
    else repeatsOf(command).endDrag();
}
Texts queryDrag(CBuiltinCommand& command, std::uint32_t) { return {repeatsOf(command).isDragging() ? "1" : "0"}; }

void switchPostMode(CBuiltinCommand& command) {
    if (command.flag("state")) repeatsOf(command).beginPost();
    else repeatsOf(command).endPost();
}
Texts queryPostMode(CBuiltinCommand& command, std::uint32_t) { return {repeatsOf(command).isPosting() ? "1" : "0"}; }

Texts queryRepeat(CBuiltinCommand& command, std::uint32_t) { return {repeatsOf(command).last()}; }

// Arguments that are wrong are refused before anything is undone.
void repeatLast(const std::weak_ptr<CCommandDispatcher>& weak, CBuiltinCommand& command) {
    const auto dispatcher = weak.lock();
    if (dispatcher == nullptr) throw KZe_NOTAVAILABLE;
    const CommandEnvironment& environment = command.environment();
    const std::string line = repeatsOf(command).last();
    std::string_view rest;
    const std::string name = kzFirstWord(line, &rest);
    const std::vector<ArgumentText> changes = kzParseArguments(command.text("arguments"));
    if (std::ranges::any_of(changes, [](const ArgumentText& each) { return each.isQuery; }))
        kzRefuse(KZe_INVALIDARG, "argument \"arguments\": a query is no value for a command that is executed");
    CKzUser_Command former, anew;
    dispatcher->parse(line, former);
    dispatcher->registry().spawn(name, anew);
    CCommandArguments arguments(*environment.types, anew.raw());
    arguments.preset(kzParseArguments(rest));
    arguments.assign(changes);
    const KzResult code = repeatsOf(command).repeat(former.raw(), anew, name, arguments.write(name),
                                                    environment.state->flags() & KZmCMD_EXEC_DIALOG);
    if (kzFailed(code)) kzRefuse(code, kzFailureOf(anew, code));
}

}  // namespace

// They make no step of the history themselves.
void kzAddRepeatCommands(CCommandRegistry& registry, const std::shared_ptr<CCommandDispatcher>& dispatcher) {
    kzAddCommands(
        registry,
        {
            {"command.refire", "Drag", "lets a command replace what it did before, as in a drag", KZfCMD_UI,
             refireArguments, switchDrag, queryDrag, nullptr, nullptr, 0},
            {"command.postMode", "Post Mode", "lets the last command get other arguments", KZfCMD_UI, postModeArguments,
             switchPostMode, queryPostMode, nullptr, nullptr, 0},
            {"command.repeat", "Repeat with Other Arguments",
             "undoes the last command and executes it with other arguments", KZfCMD_UI, repeatArguments,
             [weak = std::weak_ptr(dispatcher)](CBuiltinCommand& command) { repeatLast(weak, command); }, queryRepeat},
        });
}

}  // namespace kzhost
