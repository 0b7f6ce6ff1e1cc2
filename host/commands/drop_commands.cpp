// The command that drops something on a place of the current scene.
#include "host/commands/drop_commands.h"

#include "host/commands/builtin_command.h"
#include "host/commands/document_targets.h"
#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/objects/drops.h"
#include "host/objects/item_collection.h"
#include "host/objects/item_packages.h"
#include "host/objects/presets.h"

#include "kz/command.h"
#include "kz/destination.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>

namespace kzhost {

namespace {

constexpr std::uint32_t listed = kzOptional | kzQueryable;
constexpr ArgumentRow dropArguments[] = {
    {"type", KZsTYPE_STRING, kzQueryable, "what is dropped; queried, all that can be"},
    {"source", KZsTYPE_STRING, kzOptional,
     "the item, file, preset, color as \"1 0.5 0\", or text; of items, the selected ones when it is left out"},
    {"sourceChannel", KZsTYPE_STRING, kzOptional, "the channel of the source, for channels"},
    {"item", KZsTYPE_STRING, listed, "the item on which it is dropped; beside all items when it is left out"},
    {"channel", KZsTYPE_STRING, kzOptional, "the channel of that item"},
    {"position", KZsTYPE_INTEGER, kzOptional, "among what the item has, from 0; the end when it is left out"},
    {"destination", KZsTYPE_STRING, listed, "the kind of place; the usual one for the source when it is left out"},
    {"action", KZsTYPE_STRING, listed, "what to do with it; queried, what could be done there"},
};

struct SourceRow {
    const char* type;
    const char* destination;  // the usual one
};
constexpr SourceRow sources[] = {
    {KZsDROPSOURCE_ITEMS, KZs_DROPDEST_LOCATOR}, {KZsDROPSOURCE_CHANNELS, KZs_DROPDEST_CHANNEL},
    {KZsDROPSOURCE_FILES, "dest.item"},          {KZsDROPSOURCE_PRESET, "dest.item"},
    {KZsDROPSOURCE_COLOR, "dest.color"},         {KZsDROPSOURCE_TEXT, "dest.item"},
    {KZsDROPSOURCE_SCRIPT, "dest.item"},         {KZsDROPSOURCE_URL, "dest.item"},
};

const SourceRow& sourceRow(CBuiltinCommand& command) {
    const std::string type = command.text("type");
    const auto row = std::ranges::find(sources, type, &SourceRow::type);
    if (row == std::end(sources))
        kzRefuse(KZe_INVALIDARG, "argument \"type\": " +
                                     kzThereIsNo("source", type, sources, [](const auto& each) { return each.type; }));
    return *row;
}

CHostRef<CItemCollection> droppedItems(OpenScenes& scenes, CBuiltinCommand& command) {
    auto items = CHostRef<CItemCollection>::make(scenes.workspace);
    const CHostRef<CItem> named = command.has("source") ? kzItemArgument(scenes, command, "source") : CHostRef<CItem>();
    const CReading reading(*scenes.workspace);
    if (named) items->add(*named->read());
    else
        for (Item* item : kzSelectedItems(*scenes.workspace, KZiITYPE_ANY)) items->add(*item);
    if (items->itemcollection_Count() == 0)
        kzRefuse(KZe_NOTFOUND, "argument \"source\" is missing, and no item is selected");
    return items;
}

CKzLoc_Unknown& makeSource(OpenScenes& scenes, CBuiltinCommand& command, const char* type, CKzLoc_Unknown& source) {
    const std::string kind = type, text = command.text("source");
    if (kind == KZsDROPSOURCE_ITEMS) {
        source.set(droppedItems(scenes, command).raw());
        return source;
    }
    if (!command.has("source")) kzRefuse(KZe_INVALIDARG, "argument \"source\" is missing");
    if (kind == KZsDROPSOURCE_CHANNELS || kind == KZsDROPSOURCE_FILES || kind == KZsDROPSOURCE_PRESET) {
        const auto texts = CHostRef<CValueArray>::make(KZsTYPE_STRING);
        if (kind == KZsDROPSOURCE_CHANNELS) {
            const auto item = kzItemArgument(scenes, command, "source");
            kzChannelArgument(item, command, "sourceChannel");
            texts->va_AddString(item->read()->ident.c_str());
            texts->va_AddString(command.text("sourceChannel").c_str());
        } else {
            texts->va_AddString((kind == KZsDROPSOURCE_PRESET ? CPresets::pathOf(text) : text).c_str());
        }
        source.set(texts.raw());
        return source;
    }
    const bool isColor = kind == KZsDROPSOURCE_COLOR;
    const auto value = CHostRef<CValue>::make(isColor ? KZsTYPE_COLOR : KZsTYPE_STRING);
    if (kzFailed(value->val_SetString(text.c_str())))
        kzRefuse(KZe_INVALIDARG, "argument \"source\": " + kzIsNot(text, value->type().expects));
    source.set(value.raw());
    return source;
}

// Without a kind, an item takes presets where its package wants them.
const DropKind& kindOf(OpenScenes& scenes, CBuiltinCommand& command, const SourceRow& source, const DropPlace& place) {
    if (!command.has("destination") && place.item && std::string_view(source.type) == KZsDROPSOURCE_PRESET)
        for (const DropKind& kind : kzDropKinds()) {
            CKzLoc_Unknown own;
            if (kzSucceeded(kzItemPackages(*scenes.workspace)->offered(*place.item, *kind.iid, own.out()))) return kind;
        }
    const std::string name = command.has("destination") ? command.text("destination") : source.destination;
    for (const DropKind& kind : kzDropKinds())
        if (name == kind.name) return kind;
    kzRefuse(KZe_INVALIDARG,
             "argument \"destination\": " +
                 kzThereIsNo("destination", name, kzDropKinds(), [](const DropKind& kind) { return kind.name; }));
}

struct Dropping {
    CDrops::DragRef drag;
    CKzLoc_Unknown destination;
};

void prepare(const CDrops& drops, OpenScenes& scenes, CBuiltinCommand& command, Dropping& dropping) {
    const SourceRow& row = sourceRow(command);
    DropPlace place;
    place.scene = kzCurrentScene(scenes);
    if (command.has("item")) place.item = kzItemArgument(scenes, command, "item");
    if (command.has("channel")) {
        if (!place.item) kzRefuse(KZe_INVALIDARG, "argument \"channel\" needs the argument \"item\"");
        place.channel = kzChannelArgument(place.item, command, "channel");
    }
    place.position = command.integer("position").value_or(-1);
    {
        const CReading reading(*scenes.workspace);
        place.time = scenes.currentTime();
    }
    CKzLoc_Unknown source;
    makeSource(scenes, command, row.type, source);
    dropping.destination.hold(kzMakeDestination(kindOf(scenes, command, row, place), place));
    dropping.drag = drops.begin(row.type, source.raw(), KZf_DROP_COPY | KZf_DROP_LINK);
}

void dropOnItem(CDrops& drops, OpenScenes& scenes, CBuiltinCommand& command) {
    std::int32_t action = KZi_DROPACTION_DEFAULT;
    if (command.has("action")) {
        action = kzDropAction(command.text("action"));
        if (action == KZi_DROPACTION_DEFAULT)
            kzRefuse(KZe_INVALIDARG,
                     "argument \"action\": " +
                         kzIsNot(command.text("action"), "move, copy, link, replace, apply, load or a number"));
    }
    Dropping dropping;
    prepare(drops, scenes, command, dropping);
    drops.drop(*dropping.drag, dropping.destination.raw(), action);
}

Texts queryDrop(CDrops& drops, OpenScenes& scenes, CBuiltinCommand& command, std::uint32_t index) {
    Texts texts;
    const std::string_view name = dropArguments[index].name;
    if (name == "type")
        for (const SourceRow& row : sources) texts.emplace_back(row.type);
    else if (name == "item") texts = kzItemNames(scenes);
    else if (name == "destination")
        for (const DropKind& kind : kzDropKinds()) texts.emplace_back(kind.name);
    else {
        Dropping dropping;
        prepare(drops, scenes, command, dropping);
        for (const auto& offer : drops.offers(*dropping.drag, dropping.destination.raw()))
            for (const DropAction& each : offer.actions)
                if (std::string text = kzDropActionName(each.action); std::ranges::find(texts, text) == texts.end())
                    texts.push_back(std::move(text));
    }
    return texts;
}

}  // namespace

void kzAddDropCommands(CCommandRegistry& registry, const std::shared_ptr<CDrops>& drops,
                       const std::shared_ptr<OpenScenes>& scenes) {
    kzAddCommands(registry,
                  {{"item.drop", "Drop on Item", "drops items, channels, files, presets, colors or texts on a place",
                    KZfCMD_UNDO | KZfCMD_MODEL, dropArguments, kzWith(dropOnItem, drops, scenes),
                    kzWith(queryDrop, drops, scenes)}});
}

}  // namespace kzhost
