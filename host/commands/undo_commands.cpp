// The commands that go back and forth in the history.
#include "host/commands/builtin_command.h"
#include "host/commands/document_commands.h"
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

template <Direction direction> void moveInHistory(OpenScenes& scenes, CBuiltinCommand& command) {
    constexpr bool isUndo = direction == Direction::reverse;
    CWorkspace& workspace = *scenes.workspace;
    const std::int32_t steps = command.integer("steps").value_or(1);
    if (steps < 1) kzRefuse(KZe_INVALIDARG, fmt::format("argument \"steps\": {} is no number of steps", steps));
    const std::size_t count = workspace.stepCount(direction);
    if (count < static_cast<std::size_t>(steps))
        kzRefuse(isUndo ? KZe_CMD_NOTHING_TO_UNDO : KZe_CMD_NOTHING_TO_REDO,
                 fmt::format("there are {} steps to {}", count, isUndo ? "undo" : "redo"));
    if (isUndo) workspace.undo(static_cast<std::size_t>(steps));
    else workspace.redo(static_cast<std::size_t>(steps));
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
    for (const char* name : {KZsCMD_APP_UNDO, "undo"})
        rows.push_back({name, "Undo", "undoes the last steps", KZfCMD_UI, undoArguments,
                        kzWith(moveInHistory<Direction::reverse>, scenes),
                        kzWith(queryHistory<Direction::reverse>, scenes)});
    for (const char* name : {KZsCMD_APP_REDO, "redo"})
        rows.push_back({name, "Redo", "makes undone steps again", KZfCMD_UI, undoArguments,
                        kzWith(moveInHistory<Direction::forward>, scenes),
                        kzWith(queryHistory<Direction::forward>, scenes)});
    kzAddCommands(registry, std::move(rows));
}

}  // namespace kzhost
