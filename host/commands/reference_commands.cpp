// The commands for references to other scenes.
#include "host/commands/reference_commands.h"
#include "host/commands/document_commands.h"
#include "host/commands/document_targets.h"
#include "host/core/refusal.h"
#include "host/objects/references.h"

#include "kz/command.h"
#include "kz/value.h"

#include <utility>

namespace kzhost {

namespace {

constexpr std::uint32_t changesReferences = KZfCMD_UNDO | KZfCMD_MODEL;
constexpr ArgumentRow addReferenceArguments[] = {{"path", KZsTYPE_FILEPATH, 0, "the file of the other scene"}};
constexpr ArgumentRow referenceArguments[] = {
    {"item", KZsTYPE_STRING, 0, "the reference, by name or identifier"},
};
constexpr ArgumentRow listReferenceArguments[] = {
    {"item", KZsTYPE_STRING, kzQueryable | KZfCMDARG_READONLY, "the names of the references of the current scene"},
};

void addReference(OpenScenes& scenes, CSceneReferences& references, CBuiltinCommand& command) {
    references.add(*kzCurrentScene(scenes), command.text("path"));
}

void reloadReference(OpenScenes& scenes, CSceneReferences& references, CBuiltinCommand& command) {
    references.reload(kzItemArgument(scenes, command, "item"));
}

void unloadReference(OpenScenes& scenes, CSceneReferences& references, CBuiltinCommand& command) {
    references.unload(kzItemArgument(scenes, command, "item"));
}

void removeReference(OpenScenes& scenes, CBuiltinCommand& command) {
    const auto item = kzItemArgument(scenes, command, "item");
    CSceneReferences::demand(item);
    kzDemand(kzCurrentScene(scenes)->scene_ItemRemove(item.raw()), "item");
}

Texts queryReferences(OpenScenes& scenes, CBuiltinCommand& /*command*/, std::uint32_t /*index*/) {
    const auto scene = kzCurrentScene(scenes);
    const CReading reading(*scenes.workspace);
    Texts names;
    for (const Item* item : kzReferencesIn(scene->document())) names.push_back(item->uniqueName);
    return names;
}

void onlyQueriedReferences(OpenScenes& /*scenes*/, CBuiltinCommand& command) { kzOnlyQueried(command); }

}  // namespace

void kzAddReferenceCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes,
                            const std::shared_ptr<CSceneReferences>& references) {
    kzAddCommands(
        registry,
        {
            {"scene.reference.add", "Add Reference", "makes the items of another scene part of this one",
             changesReferences, addReferenceArguments, kzWith(addReference, scenes, references)},
            {"scene.reference.reload", "Reload Reference",
             "reads the file again, and repeats what was changed of its items", changesReferences, referenceArguments,
             kzWith(reloadReference, scenes, references)},
            {"scene.reference.unload", "Unload Reference", "takes the items away, and keeps what was changed of them",
             changesReferences, referenceArguments, kzWith(unloadReference, scenes, references)},
            {"scene.reference.remove", "Remove Reference",
             "removes a reference with its items and what was changed of them", changesReferences, referenceArguments,
             kzWith(removeReference, scenes)},
            {"scene.reference.list", "References", "queried, the references of the current scene", KZfCMD_UI,
             listReferenceArguments, kzWith(onlyQueriedReferences, scenes), kzWith(queryReferences, scenes)},
        });
}

}  // namespace kzhost
