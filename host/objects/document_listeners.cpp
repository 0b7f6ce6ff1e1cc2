// Tells listeners what happens to documents. A kind of listener is a function that turns an event into its calls; it is
// called only while the document is open.
#include "host/objects/document_listeners.h"

#include "host/core/listener_table.h"

#include "kz/scene_graph.h"
#include "kz/selection.h"

namespace kzhost {

namespace {

using Kind = DocumentEvent::Kind;

// An event with the objects that listeners get. Each is empty if the event has none, but servers in Python take no null: what
// was a root has been below the item of the scene, and what is no instance any more is its own source.
struct ToldEvent {
    const DocumentEvent& event;
    CHostRef<CScene> scene;
    CHostRef<CItem> item, other;

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

// The time selection is the current time of the current scene.
bool isOfSelection(const OpenScenes& scenes, const DocumentEvent& event) {
    if (event.kind != Kind::currentTime)
        return event.kind >= Kind::selectionCurrent && event.kind <= Kind::selectionCleared;
    const CReading reading(*scenes.workspace);
    const auto current = scenes.current();
    return current && &current->document() == event.document;
}

void tellAll(const OpenScenes& scenes, CListenerTable& listeners, const DocumentEvent& event) {
    if (isOfSelection(scenes, event))
        return listeners.each<CKzLoc_SelectionListener>(
            [&](IKzSelectionListener& each) { tellOfSelection(each, event); });
    if (listeners.count(KZa_SCENEITEMLISTENER) == 0) return;
    ToldEvent told{event, {}, {}, {}};
    {
        const CReading reading(*scenes.workspace);
        told.scene = scenes.find(event.document);
        if (!told.scene) return;
        if (event.item != nullptr) told.item = kzObjectOf(*event.item);
        if (event.other != nullptr) told.other = kzObjectOf(*event.other);
        else if (event.kind == Kind::parented) told.other = kzObjectOf(*told.scene->document().root());
        else told.other = told.item;
    }
    listeners.each<CKzLoc_SceneItemListener>([&](IKzSceneItemListener& each) {
        if (told.item) tellOfItem(each, told);
        else tellOfScene(each, told);
    });
}

}  // namespace

void kzTellListeners(const std::shared_ptr<OpenScenes>& scenes, const std::shared_ptr<CListenerTable>& listeners) {
    scenes->listeners = listeners;
    scenes->workspace->setSink([weak = std::weak_ptr(scenes), listeners](const DocumentEvent& event) {
        if (const auto open = weak.lock()) tellAll(*open, *listeners, event);
    });
}

}  // namespace kzhost
