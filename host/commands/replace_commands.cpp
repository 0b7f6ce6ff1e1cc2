// The command that replaces an item by one of another type.
#include "host/commands/replace_commands.h"

#include "host/commands/builtin_command.h"
#include "host/commands/document_targets.h"
#include "host/core/module_table.h"
#include "host/objects/item_packages.h"
#include "host/objects/item_replacement.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

namespace kzhost {

namespace {

constexpr ArgumentRow replaceArguments[] = {
    {"item", KZsTYPE_STRING, kzQueryable, "the item, by name or identifier; queried, all of the current scene"},
    {"type", KZsTYPE_STRING, kzQueryable, "the type that takes its place; queried, those that servers make of it"},
};

void replaceItem(CModuleTable& modules, OpenScenes& scenes, CBuiltinCommand& command) {
    kzUpdateItemTypes(*scenes.workspace);
    const CHostRef<CItem> item = kzItemArgument(scenes, command, "item");
    kzReplaceItem(modules, kzCurrentScene(scenes), item, command.text("type"));
}

Texts queryReplace(CModuleTable& modules, OpenScenes& scenes, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return kzItemNames(scenes);
    kzUpdateItemTypes(*scenes.workspace);
    return kzReplacementTypes(modules, kzItemArgument(scenes, command, "item"));
}

}  // namespace

void kzAddReplaceCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules,
                          const std::shared_ptr<OpenScenes>& scenes) {
    kzAddCommands(registry, {{"item.replace", "Replace Item", "replaces an item by one of another type",
                              KZfCMD_UNDO | KZfCMD_MODEL, replaceArguments, kzWith(replaceItem, modules, scenes),
                              kzWith(queryReplace, modules, scenes)}});
}

}  // namespace kzhost
