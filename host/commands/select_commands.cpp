// The commands that change what is selected.
#include "host/commands/document_commands.h"
#include "host/commands/document_targets.h"
#include "host/core/module_table.h"
#include "host/core/reasons.h"
#include "host/objects/selection_operation.h"
#include "host/objects/selection_scope.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/selection.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <charconv>
#include <sstream>
#include <string>

namespace kzhost {

namespace {

constexpr std::uint32_t selects = KZfCMD_UNDO | KZfCMD_SELECT;

constexpr KzTextValueHint selectModeHints[] = {{KZiSELMODE_SET, "set"},
                                               {KZiSELMODE_ADD, "add"},
                                               {KZiSELMODE_REMOVE, "remove"},
                                               {KZiSELMODE_TOGGLE, "toggle"},
                                               {0, nullptr}};
constexpr ArgumentRow modeArgument = {"mode", KZsTYPE_CHOICE, kzOptional,
                                      "set, which leaves nothing else selected; or add, remove, toggle",
                                      selectModeHints};
constexpr ArgumentRow typeArgument = {"type", KZsTYPE_STRING, kzOptional | kzQueryable,
                                      "the type of selection, such as \"point\"; the current one when it is left out; "
                                      "queried, all types, the current one first"};

constexpr ArgumentRow itemArguments[] = {
    {"item", KZsTYPE_STRING, kzQueryable, "the item, by name or identifier; queried, the selected ones"}, modeArgument};
constexpr ArgumentRow channelArguments[] = {
    {"item", KZsTYPE_STRING, 0, "the item, by name or identifier"},
    {"channel", KZsTYPE_STRING, kzQueryable, "the channel; queried, the selected ones with their items"},
    modeArgument};
constexpr ArgumentRow elementArguments[] = {
    {"type", KZsTYPE_STRING, 0, "point, edge or polygon"},
    {"item", KZsTYPE_STRING, kzOptional, "the mesh item; the main layer when it is left out"},
    {"element", KZsTYPE_STRING, kzOptional | kzQueryable,
     "the positions of the elements in the mesh, as {0 2 5}; an edge is two points, as 0-1; queried, the selected "
     "ones"},
    modeArgument};
constexpr ArgumentRow typeArguments[] = {
    {"type", KZsTYPE_STRING, kzQueryable, "the type that commands work on; queried, all types, the current one first"}};
constexpr ArgumentRow wholeArguments[] = {typeArgument};
constexpr ArgumentRow countArguments[] = {
    typeArgument, {"count", KZsTYPE_INTEGER, kzOptional | kzQueryable | KZfCMDARG_READONLY, "how many are selected"}};
constexpr ArgumentRow operateArguments[] = {
    {"operation", KZsTYPE_STRING, kzQueryable, "the selection operation's server name; queried, all of them"},
    typeArgument};

CSelection& selectionOf(const OpenScenes& scenes) { return scenes.workspace->selection(); }

Texts typeNames(OpenScenes& scenes, CBuiltinCommand& /*command*/, std::uint32_t /*index*/) {
    const CReading reading(*scenes.workspace);
    std::vector<std::int32_t> types;
    for (const auto& each : selectionOf(scenes).types()) types.push_back(each->type);
    const std::int32_t current = selectionOf(scenes).currentType(types);
    Texts names{selectionOf(scenes).find(current)->name};
    for (const auto& each : selectionOf(scenes).types())
        if (each->type != current) names.push_back(each->name);
    return names;
}

std::int32_t typeOf(OpenScenes& scenes, CBuiltinCommand& command) {
    const Texts names = typeNames(scenes, command, 0);
    const std::string name = command.has("type") ? command.text("type") : names.front();
    const CReading reading(*scenes.workspace);
    const SelectionKind* kind = selectionOf(scenes).find(std::string_view(name));
    if (kind == nullptr) kzRefuse(KZe_NOTFOUND, "argument \"type\": " + kzThereIsNo("type of selection", name, names));
    return kind->type;
}

bool isElement(std::int32_t type) {
    return type == KZi_SELTYP_POINT || type == KZi_SELTYP_EDGE || type == KZi_SELTYP_POLYGON;
}

// Of which the host knows everything that there is.
std::int32_t wholeType(OpenScenes& scenes, CBuiltinCommand& command) {
    const std::int32_t type = typeOf(scenes, command);
    if (type != KZi_SELTYP_ITEM && !isElement(type))
        kzRefuse(KZe_INVALIDARG, "argument \"type\": this works on items, points, edges and polygons");
    return type;
}

void select(OpenScenes& scenes, std::int32_t type, const PacketList& packets, CBuiltinCommand& command) {
    CEdit edit(*scenes.workspace);
    kzSelect(selectionOf(scenes), type, packets, command.integer("mode").value_or(KZiSELMODE_SET), edit);
    edit.commit();
}

void selectItem(OpenScenes& scenes, CBuiltinCommand& command) {
    const CHostRef<CItem> item = kzItemArgument(scenes, command, "item");
    PacketList list;
    list.add(selectionOf(scenes).packet({.kind = PacketKind::item, .item = item->read()->shared_from_this()}));
    select(scenes, KZi_SELTYP_ITEM, list, command);
}

void selectChannel(OpenScenes& scenes, CBuiltinCommand& command) {
    const CHostRef<CItem> item = kzItemArgument(scenes, command, "item");
    const std::int32_t channel = kzChannelArgument(item, command, "channel");
    PacketList list;
    {
        const auto own = item->read();
        list.add(selectionOf(scenes).packet({.kind = PacketKind::channel,
                                             .item = own->shared_from_this(),
                                             .text = own->channelAt(static_cast<std::size_t>(channel))->name}));
    }
    select(scenes, KZi_SELTYP_CHANNEL, list, command);
}

// The names of what is selected: an item's, and behind it that of its channel or the position of its element.
Texts selectedNames(OpenScenes& scenes, std::int32_t type) {
    Texts names;
    const CReading reading(*scenes.workspace);
    selectionOf(scenes).list(type).each([&](const PacketRef& packet) {
        const ItemRef item = packet->item.lock();
        if (item == nullptr || !packet->isAlive()) return;
        std::string name = item->uniqueName;
        if (packet->kind == PacketKind::channel) name += ":" + packet->text;
        const char* separator = " ";
        for (const std::size_t position : kzElementPositions(*packet))
            name += std::exchange(separator, "-") + std::to_string(position);
        names.push_back(std::move(name));
    });
    return names;
}

template <std::int32_t type>
Texts querySelected(OpenScenes& scenes, CBuiltinCommand& /*command*/, std::uint32_t /*index*/) {
    return selectedNames(scenes, type);
}

std::int32_t elementType(OpenScenes& scenes, CBuiltinCommand& command) {
    const std::int32_t type = typeOf(scenes, command);
    if (!isElement(type))
        kzRefuse(KZe_INVALIDARG,
                 fmt::format("argument \"type\": {}", kzIsNot(command.text("type"), "point, edge or polygon")));
    return type;
}

PacketRef elementAt(Item& item, std::int32_t type, const std::string& word) {
    std::size_t first = 0, second = 0;
    const char* end = word.data() + word.size();
    auto read = std::from_chars(word.data(), end, first);
    const bool isPair = type == KZi_SELTYP_EDGE;
    if (isPair && read.ec == std::errc() && read.ptr != end && *read.ptr == '-')
        read = std::from_chars(read.ptr + 1, end, second);
    else if (isPair) read.ec = std::errc::invalid_argument;
    if (read.ec != std::errc() || read.ptr != end)
        kzRefuse(KZe_INVALIDARG, fmt::format("argument \"element\": {}",
                                             kzIsNot(word, isPair ? "two points, as 0-1" : "a position, from 0")));
    PacketRef packet = kzElementPacket(item, type, first, second);
    if (packet == nullptr)
        kzRefuse(KZe_OUTOFBOUNDS, fmt::format("argument \"element\": \"{}\" has no {} {}", item.uniqueName,
                                              item.document.workspace().selection().find(type)->name, word));
    return packet;
}

void selectElement(OpenScenes& scenes, CBuiltinCommand& command) {
    const std::int32_t type = elementType(scenes, command);
    const CHostRef<CItem> item = kzLayerArgument(scenes, command, "item");
    PacketList list;
    {
        const auto own = item->read();
        std::istringstream words(command.text("element"));
        for (std::string word; words >> word;) list.add(elementAt(*own, type, word));
    }
    select(scenes, type, list, command);
}

Texts queryElements(OpenScenes& scenes, CBuiltinCommand& command, std::uint32_t /*index*/) {
    return selectedNames(scenes, elementType(scenes, command));
}

void setType(OpenScenes& scenes, CBuiltinCommand& command) {
    const std::int32_t type = typeOf(scenes, command);
    CEdit edit(*scenes.workspace);
    selectionOf(scenes).setCurrentType(type, edit);
    edit.commit();
}

void clear(OpenScenes& scenes, CBuiltinCommand& command) {
    const bool isOne = command.has("type");
    const std::int32_t type = typeOf(scenes, command);
    CEdit edit(*scenes.workspace);
    for (const auto& each : selectionOf(scenes).types())
        if (!isOne || each->type == type) selectionOf(scenes).replace(each->type, {}, edit);
    edit.commit();
}

// Makes of the selection what `wanted(type)` says.
template <class Wanted> void replaceBy(OpenScenes& scenes, std::int32_t type, const Wanted& wanted) {
    CEdit edit(*scenes.workspace);
    selectionOf(scenes).replace(type, wanted(type), edit);
    selectionOf(scenes).setCurrentType(type, edit);
    edit.commit();
}

void selectAll(OpenScenes& scenes, CBuiltinCommand& command) {
    replaceBy(scenes, wholeType(scenes, command), [&](std::int32_t type) { return kzSelectable(scenes, type); });
}

void invert(OpenScenes& scenes, CBuiltinCommand& command) {
    replaceBy(scenes, wholeType(scenes, command), [&](std::int32_t type) {
        PacketList list = kzSelectable(scenes, type);
        const PacketList& selected = selectionOf(scenes).list(type);
        list.removeIf([&](const PacketRef& packet) { return selected.has(*packet); });
        return list;
    });
}

void more(OpenScenes& scenes, CBuiltinCommand& command) {
    replaceBy(scenes, wholeType(scenes, command), [&](std::int32_t type) { return kzGrown(scenes, type); });
}

void drop(OpenScenes& scenes, CBuiltinCommand& command) {
    const std::int32_t type = typeOf(scenes, command);
    CEdit edit(*scenes.workspace);
    const PacketList& selected = selectionOf(scenes).list(type);
    if (selected.empty()) kzRefuse(KZe_NOTFOUND, "nothing of that type is selected");
    selectionOf(scenes).remove(type, PacketRef(selected.last()), edit);
    edit.commit();
}

template <bool isBack> void goThrough(OpenScenes& scenes, CBuiltinCommand& command) {
    const std::int32_t type = typeOf(scenes, command);
    CEdit edit(*scenes.workspace);
    CSelection& selection = selectionOf(scenes);
    if (!(isBack ? selection.goBack(type, edit) : selection.goForward(type, edit)))
        kzRefuse(KZe_NOTFOUND, fmt::format("there is no {} selection of that type", isBack ? "earlier" : "later"));
    edit.commit();
}

Texts queryCount(OpenScenes& scenes, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return typeNames(scenes, command, 0);
    const std::int32_t type = typeOf(scenes, command);
    const CReading reading(*scenes.workspace);
    return {std::to_string(selectionOf(scenes).list(type).size())};
}

void operate(CModuleTable& modules, OpenScenes& scenes, CBuiltinCommand& command) {
    const std::string name = command.text("operation");
    const auto server = modules.find(KZa_SELECTIONOPERATION, name);
    if (!server)
        kzRefuse(KZe_NOTFOUND,
                 fmt::format("argument \"operation\": {}",
                             kzThereIsNo("selection operation", name, modules.servers(KZa_SELECTIONOPERATION),
                                         [](const KzServer& each) { return each.name; })));
    std::int32_t type = command.has("type") ? elementType(scenes, command) : 0;
    for (const auto& [tag, text] : CModuleTable::tagsOf(*server)) {
        if (tag != KZs_SELTAG_TYPE || type != 0) continue;
        const CReading reading(*scenes.workspace);
        if (const SelectionKind* kind = selectionOf(scenes).find(std::string_view(text))) type = kind->type;
    }
    if (type == 0) type = typeOf(scenes, command);
    if (!isElement(type))
        kzRefuse(KZe_INVALIDARG, "argument \"type\": selection operations work on points, edges and polygons");
    CKzLoc_Unknown object;
    const CKzUser_SelectionOperation operation(CModuleTable::spawn(*server, object).raw());
    if (!operation) throw KZe_NOINTERFACE;
    kzDemand(kzOperateSelection(scenes, operation, type), "select.operate");
}

Texts queryOperations(CModuleTable& modules, OpenScenes& scenes, CBuiltinCommand& command, std::uint32_t index) {
    if (index != 0) return typeNames(scenes, command, index);
    Texts names;
    for (const KzServer& server : modules.servers(KZa_SELECTIONOPERATION)) names.push_back(server.name);
    return names;
}

}  // namespace

void kzAddSelectCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules,
                         const std::shared_ptr<OpenScenes>& scenes) {
    std::vector<CommandRow> rows{
        {"select.item", "Select Item", "selects an item of the current scene", selects, itemArguments,
         kzWith(selectItem, scenes), kzWith(querySelected<KZi_SELTYP_ITEM>, scenes)},
        {"select.channel", "Select Channel", "selects a channel of an item", selects, channelArguments,
         kzWith(selectChannel, scenes), kzWith(querySelected<KZi_SELTYP_CHANNEL>, scenes)},
        {"select.element", "Select Elements", "selects elements of a mesh", selects, elementArguments,
         kzWith(selectElement, scenes), kzWith(queryElements, scenes)},
        {"select.type", "Selection Type", "chooses the type of selection that commands work on", KZfCMD_UI,
         typeArguments, kzWith(setType, scenes), kzWith(typeNames, scenes)},
        {"select.clear", "Clear Selection", "selects nothing of a type; of all types when it is left out", selects,
         wholeArguments, kzWith(clear, scenes), kzWith(typeNames, scenes)},
        {"select.count", "Count Selection", "says how many are selected", KZfCMD_UI, countArguments, kzOnlyQueried,
         kzWith(queryCount, scenes)},
        {"select.operate", "Operate on Selection", "lets a selection operation decide what stays selected", selects,
         operateArguments, kzWith(operate, modules, scenes), kzWith(queryOperations, modules, scenes)}};
    const auto add = [&](const char* name, const char* userName, const char* description, auto execute) {
        rows.push_back(
            {name, userName, description, selects, wholeArguments, kzWith(execute, scenes), kzWith(typeNames, scenes)});
    };
    add("select.all", "Select All", "selects everything in the current scene, or in the layers that are worked on",
        selectAll);
    add("select.invert", "Invert Selection", "selects what is not selected instead", invert);
    add("select.more", "Select More", "also selects what is below selected items, or next to selected elements", more);
    add("select.drop", "Drop Last Selected", "takes what was selected last out of the selection", drop);
    add("select.back", "Previous Selection", "selects what was selected before", goThrough<true>);
    add("select.forward", "Next Selection", "goes the other way through former selections", goThrough<false>);
    kzAddCommands(registry, std::move(rows));
}

}  // namespace kzhost
