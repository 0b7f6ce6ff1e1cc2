// The commands for layers: the mesh items of the current scene.
#include "host/commands/document_commands.h"
#include "host/commands/document_targets.h"
#include "host/objects/layers.h"
#include "host/objects/selection_scope.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/selection.h"
#include "kz/value.h"

#include <string>

namespace kzhost {

namespace {

constexpr std::uint32_t selects = KZfCMD_UNDO | KZfCMD_SELECT;

constexpr const char* layerMeaning = "the layer, by name or identifier; the main one when it is left out";
constexpr KzTextValueHint layerModeHints[] = {{KZiSELMODE_SET, "set"},
                                              {KZiSELMODE_ADD, "add"},
                                              {KZiSELMODE_REMOVE, "remove"},
                                              {KZiSELMODE_TOGGLE, "toggle"},
                                              {0, nullptr}};
constexpr ArgumentRow listArguments[] = {
    {"layer", KZsTYPE_STRING, kzQueryable | KZfCMDARG_READONLY, "all layers, a parent before what is below it"},
    {"state", KZsTYPE_STRING, kzQueryable | KZfCMDARG_READONLY,
     "the same with their states behind them: main, active, background, visible, locked"}};
constexpr ArgumentRow selectArguments[] = {
    {"layer", KZsTYPE_STRING, kzQueryable, "the layer, by name or identifier; queried, the active ones"},
    {"mode", KZsTYPE_CHOICE, kzOptional, "set, which leaves no other layer active; or add, remove, toggle",
     layerModeHints}};
constexpr ArgumentRow mainArguments[] = {
    {"layer", KZsTYPE_STRING, kzQueryable, "the layer that becomes the main one; queried, the main one"}};
constexpr ArgumentRow stateArguments[] = {
    {"layer", KZsTYPE_STRING, kzOptional, layerMeaning},
    {"state", KZsTYPE_BOOLEAN, kzOptional | kzQueryable, "on when it is left out; queried, what it is"}};
constexpr ArgumentRow layerArguments[] = {{"layer", KZsTYPE_STRING, kzOptional, layerMeaning}};
constexpr ArgumentRow newLayerArguments[] = {{"name", KZsTYPE_STRING, kzOptional, "the new layer's name"}};

struct StateWord {
    std::int32_t state;
    const char* word;
};
constexpr StateWord stateWords[] = {{KZf_LAYER_MAIN, "main"},
                                    {KZf_LAYER_ACTIVE, "active"},
                                    {KZf_LAYER_BACKGROUND, "background"},
                                    {KZf_LAYER_VISIBLE, "visible"},
                                    {KZf_LAYER_LOCKED, "locked"}};

bool has(const Item& layer, std::int32_t state) {
    return (kzLayerState(layer) & static_cast<std::uint32_t>(state)) != 0;
}

// The names of the layers for which the test holds.
template <class Test> Texts namesIf(OpenScenes& scenes, const Test& test) {
    Texts names;
    const CReading reading(*scenes.workspace);
    if (scenes.list.empty()) return names;
    for (const Item* layer : kzLayersOf(scenes.list.back()->document()))
        if (test(*layer)) names.push_back(layer->uniqueName);
    return names;
}

Texts queryList(OpenScenes& scenes, CBuiltinCommand& /*command*/, std::uint32_t index) {
    if (index == 0) return namesIf(scenes, [](const Item&) { return true; });
    Texts lines;
    const CReading reading(*scenes.workspace);
    if (scenes.list.empty()) return lines;
    for (const Item* layer : kzLayersOf(scenes.list.back()->document())) {
        std::string line = layer->uniqueName + ":";
        for (const StateWord& each : stateWords)
            if (has(*layer, each.state)) line += std::string(" ") + each.word;
        lines.push_back(std::move(line));
    }
    return lines;
}

template <std::int32_t state>
Texts queryThose(OpenScenes& scenes, CBuiltinCommand& /*command*/, std::uint32_t /*index*/) {
    return namesIf(scenes, [](const Item& layer) { return has(layer, state); });
}

void setState(OpenScenes& scenes, CBuiltinCommand& command, std::int32_t state, bool isOn) {
    const CHostRef<CItem> layer = kzLayerArgument(scenes, command, "layer");
    const auto bits = static_cast<std::uint32_t>(state);
    CEdit edit(*scenes.workspace);
    kzSetLayerState(*layer->read(), bits, isOn ? bits : 0, edit);
    edit.commit();
}

template <std::int32_t state> void switchState(OpenScenes& scenes, CBuiltinCommand& command) {
    setState(scenes, command, state, !command.has("state") || command.flag("state"));
}

template <std::int32_t state> Texts queryState(OpenScenes& scenes, CBuiltinCommand& command, std::uint32_t /*index*/) {
    return {has(*kzLayerArgument(scenes, command, "layer")->read(), state) ? "1" : "0"};
}

template <std::int32_t state> void makeState(OpenScenes& scenes, CBuiltinCommand& command) {
    setState(scenes, command, state, true);
}

// Other layers stop being active; what is selected besides stays.
void selectLayer(OpenScenes& scenes, CBuiltinCommand& command) {
    const CHostRef<CItem> layer = kzLayerArgument(scenes, command, "layer");
    CEdit edit(*scenes.workspace);
    CSelection& selection = scenes.workspace->selection();
    const std::int32_t mode = command.integer("mode").value_or(KZiSELMODE_SET);
    PacketList list;
    if (mode == KZiSELMODE_SET) {
        list = selection.list(KZi_SELTYP_ITEM);
        list.removeIf([](const PacketRef& packet) {
            const ItemRef item = packet->item.lock();
            return item == nullptr || kzIsLayer(*item);
        });
    }
    list.add(selection.packet({.kind = PacketKind::item, .item = layer->read()->shared_from_this()}));
    kzSelect(selection, KZi_SELTYP_ITEM, list, mode, edit);
    edit.commit();
}

void newLayer(OpenScenes& scenes, CBuiltinCommand& command) {
    const CHostRef<CScene> scene = kzCurrentScene(scenes);
    CEdit edit(*scenes.workspace);
    Item& layer = edit.add(scene->document(), *kzFindItemType(KZsITYPE_MESH));
    if (command.has("name")) edit.rename(layer, command.text("name"));
    kzSetLayerState(layer, KZf_LAYER_MAIN, KZf_LAYER_MAIN, edit);
    edit.commit();
}

void deleteLayer(OpenScenes& scenes, CBuiltinCommand& command) {
    kzDemand(kzCurrentScene(scenes)->scene_ItemRemove(kzLayerArgument(scenes, command, "layer").raw()), "layer.delete");
}

}  // namespace

void kzAddLayerCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes) {
    kzAddCommands(
        registry,
        {
            {"layer.list", "List Layers", "lists the layers of the current scene", KZfCMD_UI, listArguments,
             kzOnlyQueried, kzWith(queryList, scenes)},
            {"layer.select", "Select Layer", "makes a layer active", selects, selectArguments,
             kzWith(selectLayer, scenes), kzWith(queryThose<KZf_LAYER_ACTIVE>, scenes)},
            {"layer.main", "Main Layer", "makes a layer the main one, into which new elements come", selects,
             mainArguments, kzWith(makeState<KZf_LAYER_MAIN>, scenes), kzWith(queryThose<KZf_LAYER_MAIN>, scenes)},
            {"layer.visible", "Show Layer", "shows or hides a layer", kzChangesScene, stateArguments,
             kzWith(switchState<KZf_LAYER_VISIBLE>, scenes), kzWith(queryState<KZf_LAYER_VISIBLE>, scenes)},
            {"layer.lock", "Lock Layer", "locks or unlocks a layer", kzChangesScene, stateArguments,
             kzWith(switchState<KZf_LAYER_LOCKED>, scenes), kzWith(queryState<KZf_LAYER_LOCKED>, scenes)},
            {"layer.background", "Put Layer into Background", "keeps a layer visible, but no longer active",
             kzChangesScene | KZfCMD_SELECT, layerArguments, kzWith(makeState<KZf_LAYER_BACKGROUND>, scenes)},
            {"layer.new", "New Layer", "adds an empty layer, which becomes the main one", kzChangesScene,
             newLayerArguments, kzWith(newLayer, scenes)},
            {"layer.delete", "Delete Layer", "removes a layer and everything below it", kzChangesScene, layerArguments,
             kzWith(deleteLayer, scenes)},
        });
}

}  // namespace kzhost
