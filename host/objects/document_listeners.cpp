// Tells listeners what happens to documents. A kind of listener is a function that turns an event into its calls; it is
// called only while the document is open.
#include "host/objects/document_listeners.h"

#include "host/core/listener_table.h"
#include "host/document/animation.h"
#include "host/document/host_modifiers.h"

#include "kz/command.h"
#include "kz/eval.h"
#include "kz/scene_graph.h"
#include "kz/selection.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

using Kind = DocumentEvent::Kind;

// An event with the objects that listeners get. Each is empty if the event has none, but servers in Python take no null: what
// was a root has been below the item of the scene, and what is no instance any more is its own source.
struct ToldEvent {
    const DocumentEvent& event;
    CHostRef<CScene> scene;
    CHostRef<CItem> item, other;
    std::int32_t channel = -1;  // the index of the channel that `text` names
    // The channels whose evaluated values follow from it, and what else of evaluation is out of date, as fEVALINVALID.
    std::vector<std::pair<CHostRef<CItem>, std::int32_t>> driven = {};
    std::uint32_t stale = 0;
    std::uint32_t action = 0;  // how it changes the action that the item is, as fACTIONCHANGE
    bool isAction = false;
    bool isCurrent = false;  // of the current scene

    const char* text() const { return event.text.c_str(); }
    const char* textOrNull() const { return event.text.empty() ? nullptr : text(); }
    std::int32_t first() const { return static_cast<std::int32_t>(event.first); }
    std::int32_t second() const { return static_cast<std::int32_t>(event.second); }
    std::uint32_t bits() const { return static_cast<std::uint32_t>(event.first); }
};

// What happens to items, their channels and their links.
void tellOfItem(IKzSceneItemListener& listener, const ToldEvent& told) {
    IKzUnknown* item = told.item.raw();
    IKzUnknown* other = told.other.raw();
    switch (told.event.kind) {
    case Kind::itemAdded: return listener.ItemAdded(item);
    case Kind::itemRemoving: return listener.ItemRemoving(item);
    case Kind::renamed: return listener.ItemRenamed(item, told.textOrNull());
    case Kind::parented: return listener.ItemParented(item, other);
    case Kind::moved: return listener.ItemMoved(item, told.first());
    case Kind::flags: return listener.ItemFlags(item, told.bits());
    case Kind::tag: return listener.ItemTag(item, told.bits());
    case Kind::source: return listener.ItemSource(item, other);
    case Kind::packageAdded: return listener.PackageAdded(item, told.text());
    case Kind::packageRemoved: return listener.PackageRemoved(item, told.text());
    case Kind::channelAdded: return listener.ChannelAdded(item, told.text());
    case Kind::channelRemoved: return listener.ChannelRemoved(item, told.text());
    case Kind::linkAdded: listener.LinkAdded(told.text(), item, other); break;
    case Kind::linkRemoved: listener.LinkRemoved(told.text(), item, other); break;
    case Kind::linkMoved: return listener.LinkMoved(told.text(), item, other, told.first());
    case Kind::channelLinkAdded:
        return listener.ChannelLinkAdded(told.text(), item, told.first(), other, told.second());
    case Kind::channelLinkRemoved:
        return listener.ChannelLinkRemoved(told.text(), item, told.first(), other, told.second());
    case Kind::groupMembers: return listener.GroupMembers(item);
    default: return;
    }
    if (told.event.text == KZsGRAPH_GROUPS) listener.GroupMembers(item);
}

void tellOfScene(IKzSceneItemListener& listener, const ToldEvent& told) {
    IKzUnknown* scene = told.scene.raw();
    switch (told.event.kind) {
    case Kind::itemRemoved: return listener.ItemRemoved(scene, told.text());
    case Kind::filename: return listener.SceneFilename(scene, told.textOrNull());
    case Kind::modified: return listener.SceneModified(scene, told.first());
    case Kind::batchBegin: return listener.BatchBegin(scene);
    case Kind::batchEnd: return listener.BatchEnd(scene);
    default: return;
    }
}

// The time selection is the current time of the current scene.
void tellOfSelection(IKzSelectionListener& listener, const DocumentEvent& event) {
    const auto type = static_cast<std::int32_t>(event.first);
    const auto subtype = static_cast<std::uint32_t>(event.second);
    switch (event.kind) {
    case Kind::selectionCurrent: return listener.Current(type);
    case Kind::selectionAdded: return listener.Added(type, subtype);
    case Kind::selectionRemoved: return listener.Removed(type, subtype);
    case Kind::selectionCleared: return listener.Cleared(type);
    case Kind::currentTime: return listener.Time(event.time);
    default: return;
    }
}

void tellOfAnimation(IKzAnimListener& listener, const ToldEvent& told) {
    IKzUnknown* item = told.item.raw();
    const DocumentEvent& event = told.event;
    if (event.kind == Kind::currentTime && told.isCurrent) return listener.CurrentTime(event.time);
    if (event.kind == Kind::playRange && told.isCurrent) return listener.RangeChange(event.oldTime, event.time);
    if (told.channel < 0) return;
    switch (event.kind) {
    case Kind::keyAdded: return listener.KeyAdd(item, told.channel, event.time);
    case Kind::keyRemoved: return listener.KeyRemove(item, told.channel, event.time);
    case Kind::keyMoved: return listener.KeyMove(item, told.channel, event.oldTime, event.time);
    case Kind::envelope: return listener.EnvelopeChange(item, told.channel);
    default: return;
    }
}

void tellOfActions(IKzActionListener& listener, const ToldEvent& told) {
    const DocumentEvent& event = told.event;
    const bool isChannel = event.kind == Kind::action;
    if (!isChannel && !told.isAction) return;
    CKzLoc_Unknown clip;
    *clip.out() = kzMakeActionClip(told.scene, isChannel ? event.text : told.item->readKept()->ident);
    if (event.kind == Kind::itemAdded) return listener.ActionAdd(clip.raw());
    if (event.kind == Kind::itemRemoving) return listener.ActionRemove(clip.raw());
    if (const std::uint32_t changes = isChannel ? told.bits() : told.action; changes != 0)
        listener.ActionChange(clip.raw(), changes);
}

void tellOfValues(IKzSceneEvalListener& listener, const ToldEvent& told) {
    if (told.event.kind == Kind::channelValue && told.channel >= 0)
        listener.ChannelValue(told.item.raw(), told.channel);
    for (const auto& [item, channel] : told.driven) listener.ChannelValue(item.raw(), channel);
    if (told.event.kind == Kind::currentTime) listener.TimeChange(told.scene.raw(), told.event.time);
    if (told.stale != 0) listener.AttributesInvalid(told.scene.raw(), told.stale);
}

// How the setting of a clip changes it as an action.
std::uint32_t actionChangeOf(const DocumentEvent& event) {
    if (event.kind == Kind::renamed) return KZfACTIONCHANGE_NAME;
    if (event.kind != Kind::channelValue) return 0;
    static const std::map<std::string_view, std::uint32_t> byChannel{
        {KZsICHAN_ACTIONCLIP_ACTIVE, KZfACTIONCHANGE_ACTIVE}, {KZsICHAN_ACTIONCLIP_START, KZfACTIONCHANGE_RANGE},
        {KZsICHAN_ACTIONCLIP_END, KZfACTIONCHANGE_RANGE},     {KZsICHAN_ACTIONCLIP_SPEED, KZfACTIONCHANGE_RANGE},
        {KZsICHAN_ACTIONCLIP_LOOPS, KZfACTIONCHANGE_RANGE},   {KZsICHAN_ACTIONCLIP_WEIGHT, KZfACTIONCHANGE_BLEND},
        {KZsICHAN_ACTIONCLIP_BLEND, KZfACTIONCHANGE_BLEND},   {KZsICHAN_ACTIONCLIP_FADEIN, KZfACTIONCHANGE_BLEND},
        {KZsICHAN_ACTIONCLIP_FADEOUT, KZfACTIONCHANGE_BLEND}, {KZsICHAN_ACTIONPOSE_WEIGHT, KZfACTIONCHANGE_BLEND}};
    const auto change = byChannel.find(event.text);
    return change != byChannel.end() ? change->second : 0;
}

// What depends on the value of the channel: its name tells that, or else the category of the item's type.
std::uint32_t staleAfterValue(const Item& item, std::string_view channel) {
    static const std::map<std::string_view, std::uint32_t> byChannel = [] {
        std::map<std::string_view, std::uint32_t> bits{{KZsICHAN_LOCATOR_VISIBLE, KZfEVALINVALID_VISIBILITY},
                                                       {KZsICHAN_LOCATOR_RENDER, KZfEVALINVALID_VISIBILITY}};
        for (const char* name : {KZsICHAN_XFRMPOSITION_POS_X, KZsICHAN_XFRMPOSITION_POS_Y, KZsICHAN_XFRMPOSITION_POS_Z,
                                 KZsICHAN_XFRMROTATION_ROT_X, KZsICHAN_XFRMROTATION_ROT_Y, KZsICHAN_XFRMROTATION_ROT_Z,
                                 KZsICHAN_XFRMROTATION_ORDER, KZsICHAN_XFRMSCALE_SCL_X, KZsICHAN_XFRMSCALE_SCL_Y,
                                 KZsICHAN_XFRMSCALE_SCL_Z})
            bits.emplace(name, KZfEVALINVALID_TRANSFORM);
        return bits;
    }();
    static const std::map<std::string_view, std::uint32_t> byCategory{
        {"transform", KZfEVALINVALID_TRANSFORM}, {"shader", KZfEVALINVALID_SHADING},
        {"texture", KZfEVALINVALID_SHADING},     {"clip", KZfEVALINVALID_SHADING},
        {"light", KZfEVALINVALID_SHADING},       {"mesh", KZfEVALINVALID_GEOMETRY},
        {"curve", KZfEVALINVALID_GEOMETRY},      {"deformer", KZfEVALINVALID_GEOMETRY}};
    if (const auto bits = byChannel.find(channel); bits != byChannel.end()) return bits->second;
    const char* category = item.type.tag(KZs_ITEMTAG_CATEGORY);
    const auto bits = byCategory.find(category != nullptr ? category : "");
    return bits != byCategory.end() ? bits->second : 0;
}

std::uint32_t staleAfter(const DocumentEvent& event) {
    switch (event.kind) {
    case Kind::channelValue: return staleAfterValue(*event.item, event.text);
    case Kind::currentTime: return KZfEVALINVALID_TIME;
    case Kind::geometry:
    case Kind::source: return KZfEVALINVALID_GEOMETRY;
    case Kind::flags:
        return (event.first & (KZfITEM_VISIBLE | KZfITEM_HIDDEN | KZfITEM_RENDERABLE)) != 0 ? KZfEVALINVALID_VISIBILITY
                                                                                            : 0;
    case Kind::itemAdded:
    case Kind::itemRemoved:
    case Kind::moved: return KZfEVALINVALID_HIERARCHY;
    case Kind::parented: return KZfEVALINVALID_HIERARCHY | KZfEVALINVALID_TRANSFORM;
    case Kind::linkAdded:
    case Kind::linkRemoved:
    case Kind::linkMoved:
        return event.text == KZsGRAPH_XFRMLOCAL || event.text == KZsGRAPH_SOURCE ? KZfEVALINVALID_TRANSFORM : 0;
    default: return 0;
    }
}

// The channels that a channel drives, through links and through the host's own modifiers.
std::vector<std::pair<CHostRef<CItem>, std::int32_t>> drivenBy(Item& item, const ChannelInfo& channel) {
    using Place = std::pair<Item*, const ChannelInfo*>;
    std::vector<Place> reached{{&item, &channel}};
    std::set<Place> seen(reached.begin(), reached.end());
    const auto reach = [&](Item& other, const ChannelInfo& info) {
        if (seen.emplace(&other, &info).second) reached.emplace_back(&other, &info);
    };
    for (std::size_t i = 0; i < reached.size(); ++i) {  // NOLINT(modernize-loop-convert): it grows meanwhile
        const auto [at, info] = reached[i];
        for (const auto& link : at->outputs)
            if (link->sourceChannel == info) reach(*link->target, *link->targetChannel);
        const HostModifier* own = kzHostModifier(at->type);
        if (own == nullptr || kzOutputOf(*own, info->name)) continue;
        for (const char* output : own->outputs) reach(*at, *at->type.channel(output));
    }
    std::vector<std::pair<CHostRef<CItem>, std::int32_t>> driven;
    for (std::size_t i = 1; i < reached.size(); ++i)
        driven.emplace_back(kzObjectOf(*reached[i].first), reached[i].first->indexOf(*reached[i].second));
    return driven;
}

// Empty if the scene is closed.
ToldEvent toldOf(const OpenScenes& scenes, const DocumentEvent& event, bool isEvaluationHeard) {
    ToldEvent told{event, {}, {}, {}};
    const CReading reading(*scenes.workspace);
    told.scene = scenes.find(event.document);
    if (!told.scene) return told;
    told.isCurrent = scenes.current().object() == told.scene.object();
    told.stale = staleAfter(event);
    if (event.item != nullptr) {
        told.item = kzObjectOf(*event.item);
        told.isAction = kzIsActionItem(*event.item);
        if (told.isAction) told.action = actionChangeOf(event);
        if (event.kind == Kind::channelValue || (event.kind >= Kind::keyAdded && event.kind <= Kind::envelope))
            told.channel = event.item->findChannel(event.text);
        if (isEvaluationHeard && event.kind == Kind::channelValue && told.channel >= 0)
            told.driven = drivenBy(*event.item, kzChannelAt(*event.item, told.channel));
        // The end of a link takes another value with it, and so does all that this end drives.
        if (isEvaluationHeard && (event.kind == Kind::channelLinkAdded || event.kind == Kind::channelLinkRemoved) &&
            event.second < static_cast<std::int64_t>(event.other->channelCount())) {
            told.driven = drivenBy(*event.other, kzChannelAt(*event.other, static_cast<std::int32_t>(event.second)));
            told.driven.emplace(told.driven.begin(), kzObjectOf(*event.other), static_cast<std::int32_t>(event.second));
        }
        for (const auto& [item, channel] : told.driven) {
            const auto driven = item->readKept();
            told.stale |= staleAfterValue(*driven, kzChannelAt(*driven, channel).name);
        }
    }
    if (event.other != nullptr) told.other = kzObjectOf(*event.other);
    else if (event.kind == Kind::parented) told.other = kzObjectOf(*told.scene->document().root());
    else told.other = told.item;
    return told;
}

void tellAll(const OpenScenes& scenes, CListenerTable& listeners, const DocumentEvent& event) {
    if (event.kind == Kind::undoLocked)
        return listeners.commands([&](IKzCmdSysListener& each) { each.UndoLockout(event.first != 0); });
    if (event.kind >= Kind::selectionCurrent && event.kind <= Kind::selectionCleared)
        return listeners.each<CKzLoc_SelectionListener>(
            [&](IKzSelectionListener& each) { tellOfSelection(each, event); });
    constexpr std::array classes{KZa_SCENEITEMLISTENER, KZa_SELECTIONLISTENER, KZa_ANIMLISTENER, KZa_ACTIONLISTENER,
                                 KZa_SCENEEVALLISTENER};
    if (listeners.count({}) == 0 ||
        std::ranges::none_of(classes, [&](const char* each) { return listeners.count(each) != 0; }))
        return;
    const ToldEvent told = toldOf(scenes, event, listeners.count(KZa_SCENEEVALLISTENER) != 0);
    if (!told.scene) return;
    listeners.each<CKzLoc_SceneItemListener>([&](IKzSceneItemListener& each) {
        if (told.item) tellOfItem(each, told);
        else tellOfScene(each, told);
    });
    if (event.kind == Kind::currentTime && told.isCurrent)
        listeners.each<CKzLoc_SelectionListener>([&](IKzSelectionListener& each) { tellOfSelection(each, event); });
    listeners.each<CKzLoc_AnimListener>([&](IKzAnimListener& each) { tellOfAnimation(each, told); });
    listeners.each<CKzLoc_ActionListener>([&](IKzActionListener& each) { tellOfActions(each, told); });
    listeners.each<CKzLoc_SceneEvalListener>([&](IKzSceneEvalListener& each) { tellOfValues(each, told); });
}

}  // namespace

void kzTellListeners(const std::shared_ptr<OpenScenes>& scenes, const std::shared_ptr<CListenerTable>& listeners,
                     std::function<void(bool ofHistory)> notify) {
    scenes->listeners = listeners;
    scenes->workspace->setSink(
        [weak = std::weak_ptr(scenes), listeners, notify = std::move(notify)](const DocumentEvent& event) {
            const auto open = weak.lock();
            if (open == nullptr) return;
            tellAll(*open, *listeners, event);
            const bool isEnd = event.kind == Kind::batchEnd && event.document == nullptr;
            if (isEnd || event.kind == Kind::history) notify(!isEnd);
        });
}

}  // namespace kzhost
