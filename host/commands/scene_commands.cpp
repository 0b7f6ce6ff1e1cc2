// The commands for whole scenes.
#include "host/commands/document_commands.h"
#include "host/commands/document_targets.h"
#include "host/core/reasons.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>

namespace kzhost {

namespace {

constexpr ArgumentRow newArguments[] = {
    {"name", KZsTYPE_STRING, kzOptional, "the scene's name, until it has a file"},
};
constexpr ArgumentRow closeArguments[] = {
    {"name", KZsTYPE_STRING, kzOptional, "the scene; the current one when it is left out. Unsaved changes are lost"},
};
constexpr ArgumentRow currentArguments[] = {
    {"name", KZsTYPE_STRING, kzQueryable,
     "the scene that becomes the current one; queried, all open scenes, the current one last"},
};

Texts sceneNames(OpenScenes& scenes) {
    Texts names;
    for (const auto& scene : scenes.list)
        names.push_back(kzAnswer([&](const char** name) { return scene->scene_Name(name); }));
    return names;
}

std::size_t sceneArgument(OpenScenes& scenes, CBuiltinCommand& command) {
    if (!command.has("name") && !scenes.list.empty()) return scenes.list.size() - 1;
    const std::string name = command.text("name");
    const Texts names = sceneNames(scenes);
    const auto match = std::find(names.rbegin(), names.rend(), name);
    if (match == names.rend()) kzRefuse(KZe_NOTFOUND, "argument \"name\": " + kzThereIsNo("open scene", name, names));
    return static_cast<std::size_t>(names.rend() - match) - 1;
}

void newScene(OpenScenes& scenes, CBuiltinCommand& command) {
    scenes.add(kzOpenScene(*scenes.workspace, command.text("name")));
}

void closeScene(OpenScenes& scenes, CBuiltinCommand& command) {
    scenes.close(CHostRef<CScene>(scenes.list[sceneArgument(scenes, command)]));
}

void makeCurrent(OpenScenes& scenes, CBuiltinCommand& command) {
    scenes.makeCurrent(CHostRef<CScene>(scenes.list[sceneArgument(scenes, command)]));
}

Texts queryScenes(OpenScenes& scenes, CBuiltinCommand& /*command*/, std::uint32_t /*index*/) {
    return sceneNames(scenes);
}

}  // namespace

void kzAddSceneCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes) {
    kzAddCommands(registry, {
                                {"scene.new", "New Scene", "makes an empty scene, which becomes the current one",
                                 KZfCMD_UI, newArguments, kzWith(newScene, scenes)},
                                {"scene.close", "Close Scene", "closes a scene without asking", KZfCMD_UI,
                                 closeArguments, kzWith(closeScene, scenes)},
                                {"scene.current", "Current Scene", "chooses the scene on which commands work",
                                 KZfCMD_UI, currentArguments, kzWith(makeCurrent, scenes), kzWith(queryScenes, scenes)},
                            });
}

}  // namespace kzhost
