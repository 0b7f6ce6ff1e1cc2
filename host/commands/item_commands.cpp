// The commands for items of the current scene.
#include "host/commands/document_commands.h"
#include "host/commands/document_targets.h"
#include "host/core/reasons.h"
#include "host/objects/item_packages.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <string>

namespace kzhost {

namespace {

constexpr ArgumentRow createArguments[] = {
    {"type", KZsTYPE_STRING, kzQueryable, "the item's type, such as \"mesh\"; queried, all types"},
    {"name", KZsTYPE_STRING, kzOptional, "the item's name"},
    {"parent", KZsTYPE_STRING, kzOptional, "the item below which it comes"},
};
constexpr ArgumentRow deleteItemArguments[] = {kzItemRow};
constexpr ArgumentRow duplicateArguments[] = {kzItemRow,
                                              {"deep", KZsTYPE_BOOLEAN, kzOptional, "with everything below it"}};
constexpr ArgumentRow renameArguments[] = {
    kzItemRow, {"name", KZsTYPE_STRING, kzOptional, "the new name; without one, the item is called after its type"}};
constexpr ArgumentRow parentArguments[] = {
    kzItemRow,
    {"parent", KZsTYPE_STRING, kzOptional, "the item below which it goes; without one, it has no parent"},
    {"position", KZsTYPE_INTEGER, kzOptional, "among its new siblings, from 0; the last when it is left out"},
};
constexpr ArgumentRow tagArguments[] = {
    kzItemRow,
    {"tag", KZsTYPE_STRING, 0, "the tag's code: four characters, such as NOTE"},
    {"text", KZsTYPE_STRING, kzOptional | kzQueryable, "the tag's text; without one, the tag is removed"},
};

Texts queryItems(OpenScenes& scenes, CBuiltinCommand& /*command*/, std::uint32_t /*index*/) {
    return kzItemNames(scenes);
}

Texts queryTypes(OpenScenes& scenes, CBuiltinCommand& /*command*/, std::uint32_t /*index*/) {
    kzUpdateItemTypes(*scenes.workspace);
    Texts names;
    for (const ItemType& type : kzItemTypes()) names.emplace_back(type.name);
    return names;
}

void setParent(const CHostRef<CItem>& item, const CHostRef<CItem>& parent, std::int32_t position) {
    kzDemand(item->item_SetParent(parent ? parent.raw() : nullptr, position), "item.parent");
}

void createItem(OpenScenes& scenes, CBuiltinCommand& command) {
    const CHostRef<CScene> scene = kzCurrentScene(scenes);
    const std::string typeName = command.text("type");
    kzUpdateItemTypes(*scenes.workspace);
    const ItemType* type = kzFindItemType(typeName);
    if (type == nullptr)
        kzRefuse(KZe_NOTFOUND,
                 "argument \"type\": " + kzThereIsNo("item type", typeName, queryTypes(scenes, command, 0)));
    const auto parent = command.has("parent") ? kzItemArgument(scenes, command, "parent") : CHostRef<CItem>();
    CKzLoc_Unknown added;
    if (const KzResult code = scene->scene_ItemAdd(type->number, added.out()); kzFailed(code))
        kzRefuse(code, !kzItemTypeTable().isOwn(*type)
                           ? fmt::format("the package \"{}\" makes no item: {}", typeName, kzCodeName(code))
                           : fmt::format("argument \"type\": a scene takes no item of the type {}", typeName));
    const auto item = kzOwn<CItem>(added.raw());
    if (command.has("name")) kzDemand(item->item_SetName(command.text("name").c_str()), "item.rename");
    if (parent) setParent(item, parent, -1);
}

void deleteItem(OpenScenes& scenes, CBuiltinCommand& command) {
    const CHostRef<CItem> item = kzItemArgument(scenes, command, "item");
    if (const auto package = kzItemPackages(*scenes.workspace)->whoKeeps(*item))
        kzRefuse(KZe_NOACCESS, fmt::format("argument \"item\": the package \"{}\" does not let \"{}\" be removed",
                                           *package, command.text("item")));
    if (kzFailed(kzCurrentScene(scenes)->scene_ItemRemove(item.raw())))
        kzRefuse(KZe_INVALIDARG, "argument \"item\": the item of the scene itself stays");
}

void duplicateItem(OpenScenes& scenes, CBuiltinCommand& command) {
    CKzLoc_Unknown copy;
    kzDemand(kzItemArgument(scenes, command, "item")->item_Duplicate(command.flag("deep"), copy.out()),
             "item.duplicate");
}

void renameItem(OpenScenes& scenes, CBuiltinCommand& command) {
    kzDemand(kzItemArgument(scenes, command, "item")->item_SetName(command.text("name").c_str()), "item.rename");
}

void parentItem(OpenScenes& scenes, CBuiltinCommand& command) {
    const auto parent = command.has("parent") ? kzItemArgument(scenes, command, "parent") : CHostRef<CItem>();
    setParent(kzItemArgument(scenes, command, "item"), parent, command.integer("position").value_or(-1));
}

std::uint32_t tagCode(CBuiltinCommand& command) {
    const std::string text = command.text("tag");
    if (text.size() != 4)
        kzRefuse(KZe_INVALIDARG,
                 fmt::format("argument \"tag\": {}", kzIsNot(text, "a code of four characters, as NOTE")));
    std::uint32_t code = 0;
    for (const char letter : text) code = code << 8U | static_cast<unsigned char>(letter);
    return code;
}

void tagItem(OpenScenes& scenes, CBuiltinCommand& command) {
    const std::string text = command.text("text");
    kzDemand(kzItemArgument(scenes, command, "item")
                 ->item_SetTag(tagCode(command), command.has("text") ? text.c_str() : nullptr),
             "item.tag");
}

Texts queryTag(OpenScenes& scenes, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return kzItemNames(scenes);
    const char* text = nullptr;
    if (kzFailed(kzItemArgument(scenes, command, "item")->item_Tag(tagCode(command), &text))) return {};
    return {text};
}

}  // namespace

void kzAddItemCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes) {
    kzAddCommands(registry,
                  {
                      {"item.create", "Create Item", "adds an item to the current scene", kzChangesScene,
                       createArguments, kzWith(createItem, scenes), kzWith(queryTypes, scenes)},
                      {"item.delete", "Delete Item", "removes an item and everything below it", kzChangesScene,
                       deleteItemArguments, kzWith(deleteItem, scenes), kzWith(queryItems, scenes)},
                      {"item.duplicate", "Duplicate Item", "copies an item", kzChangesScene, duplicateArguments,
                       kzWith(duplicateItem, scenes), kzWith(queryItems, scenes)},
                      {"item.rename", "Rename Item", "gives an item another name", kzChangesScene, renameArguments,
                       kzWith(renameItem, scenes), kzWith(queryItems, scenes)},
                      {"item.parent", "Parent Item", "moves an item to another place in the tree", kzChangesScene,
                       parentArguments, kzWith(parentItem, scenes), kzWith(queryItems, scenes)},
                      {"item.tag", "Tag Item", "sets a tag of an item", kzChangesScene, tagArguments,
                       kzWith(tagItem, scenes), kzWith(queryTag, scenes)},
                  });
}

}  // namespace kzhost
