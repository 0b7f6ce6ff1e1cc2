// The commands that load, import and save scenes.
#include "host/commands/scene_file_commands.h"

#include "host/commands/document_targets.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/scene_files.h"
#include "host/state/path_aliases.h"

#include "kz/command.h"
#include "kz/value.h"

#include <algorithm>
#include <string>
#include <utility>

namespace kzhost {

namespace {

constexpr ArgumentRow readSceneArguments[] = {
    {"path", KZsTYPE_FILEPATH, 0, "the file, in any format that is known"},
};
enum SaveArgument : std::uint8_t { savePath, saveFormat, saveChanged };
constexpr ArgumentRow saveSceneArguments[] = {
    {"path", KZsTYPE_FILEPATH, kzOptional | kzQueryable,
     "the file; the scene's own when it is left out; queried, the scene's own"},
    {"format", KZsTYPE_STRING, kzOptional | kzQueryable,
     "the format, that of the extension when it is left out; queried, all that can be written"},
    {"changed", KZsTYPE_BOOLEAN, kzOptional | kzQueryable | KZfCMDARG_READONLY,
     "queried, whether there are changes that are not saved"},
};

void loadSceneFile(CSceneFiles& sceneFiles, CPathAliases& files, CBuiltinCommand& command) {
    sceneFiles.load(files.place(command.text("path").c_str()), nullptr);
}

void importScene(OpenScenes& scenes, CSceneFiles& sceneFiles, CPathAliases& files, CBuiltinCommand& command) {
    const auto scene = kzCurrentScene(scenes);
    sceneFiles.import(files.place(command.text("path").c_str()), *scene, nullptr);
}

std::string filenameOf(OpenScenes& scenes, CScene& scene) {
    const CReading reading(*scenes.workspace);
    return scene.document().filename();
}

void saveScene(OpenScenes& scenes, CSceneFiles& sceneFiles, CPathAliases& files, CBuiltinCommand& command) {
    const auto scene = kzCurrentScene(scenes);
    const std::string path = command.text("path"), format = command.text("format");
    if (path.empty() && filenameOf(scenes, *scene).empty())
        kzRefuse(KZe_INVALIDARG, "argument \"path\" is missing, and the scene has no file yet");
    const auto formats = sceneFiles.formats();
    if (!format.empty() && std::ranges::find(formats, format) == formats.end())
        kzRefuse(KZe_NOTFOUND, "argument \"format\": " + kzThereIsNo("format", format, formats));
    kzDemand(sceneFiles.save(*scene, path.empty() ? path : files.place(path.c_str()), format));
}

Texts querySceneSave(OpenScenes& scenes, CSceneFiles& sceneFiles, CBuiltinCommand& /*command*/, std::uint32_t index) {
    if (index == saveFormat) return sceneFiles.formats();
    const auto scene = kzCurrentScene(scenes);
    if (index == savePath) {
        std::string path = filenameOf(scenes, *scene);
        return path.empty() ? Texts() : Texts{std::move(path)};
    }
    const CReading reading(*scenes.workspace);
    return {scene->document().isModified() ? "1" : "0"};
}

}  // namespace

void kzAddSceneFileCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes,
                            const std::shared_ptr<CSceneFiles>& sceneFiles,
                            const std::shared_ptr<CPathAliases>& files) {
    kzAddCommands(registry,
                  {
                      {"scene.load", "Load Scene", "loads a scene, which becomes the current one", KZfCMD_UI,
                       readSceneArguments, kzWith(loadSceneFile, sceneFiles, files)},
                      {"scene.import", "Import", "adds what a file holds to the current scene",
                       KZfCMD_UNDO | KZfCMD_MODEL, readSceneArguments, kzWith(importScene, scenes, sceneFiles, files)},
                      {"scene.save", "Save Scene", "saves the current scene", KZfCMD_UI, saveSceneArguments,
                       kzWith(saveScene, scenes, sceneFiles, files), kzWith(querySceneSave, scenes, sceneFiles)},
                  });
}

}  // namespace kzhost
