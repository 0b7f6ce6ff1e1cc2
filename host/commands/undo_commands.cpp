// The commands that go back and forth in the history.
#include "host/commands/builtin_command.h"
#include "host/commands/document_commands.h"
#include "host/core/listener_table.h"
#include "host/objects/open_scenes.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <string>

namespace kzhost {

namespace {

constexpr ArgumentRow undoArguments[] = {
    {"steps", KZsTYPE_INTEGER, kzOptional | kzQueryable,
     "how many; one when it is left out; queried, how many there are"},
    {"name", KZsTYPE_STRING, KZfCMDARG_READONLY | kzOptional | kzQueryable,
     "queried, the names of all steps, the next one first"},
};

template <Direction direction> void requireSteps(OpenScenes& scenes, std::size_t steps) {
    constexpr bool isUndo = direction == Direction::reverse;
    const std::size_t count = scenes.workspace->stepCount(direction);
    if (count < steps)
        kzRefuse(isUndo ? KZe_CMD_NOTHING_TO_UNDO : KZe_CMD_NOTHING_TO_REDO,
                 fmt::format("there are {} steps to {}", count, isUndo ? "undo" : "redo"));
}

template <Direction direction> void moveInHistory(OpenScenes& scenes, CBuiltinCommand& command) {
    constexpr bool isUndo = direction == Direction::reverse;
    const std::int32_t steps = command.integer("steps").value_or(1);
    if (steps < 1) kzRefuse(KZe_INVALIDARG, fmt::format("argument \"steps\": {} is no number of steps", steps));
    requireSteps<direction>(scenes, static_cast<std::size_t>(steps));
    if (isUndo) scenes.workspace->undo(static_cast<std::size_t>(steps));
    else scenes.workspace->redo(static_cast<std::size_t>(steps));
    for (std::int32_t step = 0; step < steps; ++step)
        scenes.listeners->commands([](IKzCmdSysListener& each) { return isUndo ? each.UserUndo() : each.UserRedo(); });
}

template <Direction direction>
Texts queryHistory(OpenScenes& scenes, CBuiltinCommand& /*command*/, std::uint32_t index) {
    Texts names;
    const std::size_t count = scenes.workspace->stepCount(direction);
    if (index == 0) return {fmt::format("{}", count)};
    for (std::size_t i = 0; i < count; ++i) names.push_back(scenes.workspace->stepName(direction, i));
    return names;
}

}  // namespace

// Short names stand for the same commands. They open no block of their own, as a step cannot be undone inside a block.
void kzAddUndoCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes) {
    std::vector<CommandRow> rows;
    const auto add = [&]<Direction direction>(const char* name, const char* title, const char* description) {
        rows.push_back({name, title, description, KZfCMD_UI, undoArguments, kzWith(moveInHistory<direction>, scenes),
                        kzWith(queryHistory<direction>, scenes)});
        rows.back().enable = [scenes] { requireSteps<direction>(*scenes, 1); };
    };
    for (const char* name : {KZsCMD_APP_UNDO, "undo"})
        add.operator()<Direction::reverse>(name, "Undo", "undoes the last steps");
    for (const char* name : {KZsCMD_APP_REDO, "redo"})
        add.operator()<Direction::forward>(name, "Redo", "makes undone steps again");
    kzAddCommands(registry, std::move(rows));
}

}  // namespace kzhost
