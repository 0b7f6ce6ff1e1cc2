// Loads and unloads references to other scenes.
#include "host/objects/references.h"

#include "host/core/reasons.h"
#include "host/document/envelope.h"
#include "host/document/referenced.h"
#include "host/document/step_block.h"
#include "host/objects/item.h"
#include "host/objects/item_packages.h"
#include "host/objects/reference_paths.h"
#include "host/objects/scene_file.h"
#include "host/objects/scene_files.h"
#include "host/objects/spent_scenes.h"

#include "kz/result.h"
#include "kz/scene.h"
#include "kz/scene_event.h"
#include "kz/scene_graph.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace kzhost {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t deepestReference = 32;

// The files whose references are being loaded, the outermost first.
thread_local std::vector<std::string> theOpening;

struct Opening {
    explicit Opening(std::string path) { theOpening.push_back(std::move(path)); }
    Opening(const Opening&) = delete;
    Opening& operator=(const Opening&) = delete;
    ~Opening() { theOpening.pop_back(); }
};

// Relative paths begin where the referring file is.
std::string pathOf(const Item& reference) {
    const auto* text = std::get_if<std::string>(&reference.valueOf(*reference.type.channel(KZsICHAN_REFERENCE_PATH)));
    if (text == nullptr || text->empty())
        throw kzBecause(KZe_INVALIDARG, kzReferencePlace,
                        [&] { return "\"" + reference.uniqueName + "\" names no file; set its channel \"path\""; });
    fs::path path(*text);
    if (path.is_relative()) path = fs::path(reference.document.filename()).parent_path() / path;
    return path.lexically_normal().string();
}

void setState(Item& reference, std::shared_ptr<ReferenceState> state, CEdit& edit) {
    std::shared_ptr<ItemAttachment> other = std::move(state);
    edit.make(&reference.document,
              [item = reference.shared_from_this(), other](Direction, DocumentEvents& /*events*/) mutable {
                  std::swap(item->geometry, other);
              });
}

bool isOn(const Item& reference, const char* channel) {
    return kzNumberOf(reference.valueOf(*reference.type.channel(channel))).value_or(1) != 0;
}

// Everything of the other scene happens so many seconds later.
void delay(CDocument& document, double offset) {
    CEdit edit(document.workspace());
    std::vector<std::pair<Item*, const ChannelInfo*>> animated;
    document.each(KZiITYPE_ANY, [&](Item& item) {
        for (const auto& [channel, state] : item.values)
            if (std::ranges::any_of(state.actions, [](const ActionValue& each) { return each.curve != nullptr; }))
                animated.emplace_back(&item, channel);
    });
    for (const auto& [item, channel] : animated) {
        ChannelState state = item->values.at(channel);
        for (ActionValue& each : state.actions) {
            if (each.curve == nullptr) continue;
            std::vector<EnvelopeKey> keys;
            for (std::size_t i = 0; i < each.curve->keys().size(); ++i) {
                keys.push_back(each.curve->keys()[i]);
                keys.back().time += offset;
            }
            auto moved = std::make_shared<EnvelopeData>(*each.curve);
            moved->setKeys(std::move(keys));
            each.curve = std::move(moved);
        }
        edit.setChannel(*item, *channel, std::move(state));
    }
    edit.commitLoaded(document);
}

// Throws INVALIDARG for an item that is no reference of its document's own.
void demandReference(const Item& item) {
    if (std::string_view(item.type.name) != KZsITYPE_REFERENCE)
        throw kzBecause(KZe_INVALIDARG, kzReferencePlace, [&] {
            return fmt::format("\"{}\" is a {}; items of the type {} refer to scenes", item.uniqueName, item.type.name,
                               KZsITYPE_REFERENCE);
        });
    kzDemandOwn(item, "loaded or unloaded");
}

// Changes that do not fit any more stay as they are, for a file in which they do.
void applyOverrides(Item& reference, const Overrides& overrides, ReferenceState& state, CEdit& edit) {
    for (const auto& [ident, text] : overrides) {
        Item* item = reference.document.byIdent(reference.ident + "/" + ident);
        if (item != nullptr && kzIsReferenced(*item)) try {
                kzReadChannels(text, *item, edit);
                continue;
            } catch (const SceneFileError& error) {
                kzBecause(KZe_WARNING, kzReferencePlace, [&] {
                    return fmt::format("what was changed of \"{}\" does not fit it any more, and is kept: {}",
                                       item->uniqueName, error.what());
                });
            }
        state.kept[ident] = text;
    }
}

}  // namespace

// Tells the listeners when the step is undone or redone; whoever makes it tells them once it has been made. It is applied
// without the lock, and nothing can be changed by those who hear of it.
class CSceneReferences::CTold final : public CChange {
public:
    CTold(CDocument& document, const std::shared_ptr<OpenScenes>& scenes, CHostRef<CScene> source, bool loads,
          std::shared_ptr<CSpentScenes> spent)
        : CChange(&document), m_scenes(scenes), m_source(std::move(source)), m_spent(std::move(spent)),
          m_path(m_source->document().filename()), m_loads(loads) {}
    ~CTold() override { m_spent->add(std::move(m_source)); }
    void apply(Direction direction, DocumentEvents& /*events*/) override {
        const auto scenes = m_scenes.lock();
        if (scenes == nullptr || !std::exchange(m_isMade, true)) return;
        CHostRef<CScene> scene;
        {
            const CReading reading(*scenes->workspace);
            scene = scenes->find(document());
        }
        const CUnchanged unchanged;
        tell(*scenes, scene, m_source, m_path, m_loads == (direction == Direction::forward));
    }
    static void tell(const OpenScenes& scenes, const CHostRef<CScene>& scene, const CHostRef<CScene>& source,
                     const std::string& path, bool isLoaded) {
        if (!scene) return;
        scenes.tell([&](IKzSceneItemListener& each) {
            if (isLoaded) each.ReferenceLoaded(scene.raw(), source.raw());
            else each.ReferenceUnloaded(scene.raw(), path.c_str());
        });
    }
    bool isForeign() const override { return true; }
    std::size_t memory() const override { return sizeof *this; }

private:
    std::weak_ptr<OpenScenes> m_scenes;
    CHostRef<CScene> m_source;
    std::shared_ptr<CSpentScenes> m_spent;
    std::string m_path;
    bool m_loads;
    bool m_isMade = false;
};

CSceneReferences::CSceneReferences(std::shared_ptr<OpenScenes> scenes, std::shared_ptr<CSceneFiles> files)
    : m_scenes(std::move(scenes)), m_files(std::move(files)), m_spent(std::make_shared<CSpentScenes>()) {}

void CSceneReferences::demand(const CHostRef<CItem>& item) {
    const auto read = item->read();
    demandReference(*read);
}

void CSceneReferences::make(CDocument& document, const CHostRef<CScene>& source, bool loads) const {
    {
        const CReading reading(*m_scenes->workspace);
        if (!document.isOpen()) throw KZe_NOTAVAILABLE;  // somebody who was called has closed it
    }
    m_scenes->workspace->make(std::make_unique<CTold>(document, m_scenes, CHostRef<CScene>(source), loads, m_spent));
}

CHostRef<CScene> CSceneReferences::sceneOf(const CHostRef<CItem>& reference) const {
    const auto item = reference->read();
    return m_scenes->find(&item->document);
}

void CSceneReferences::tell(const CHostRef<CScene>& scene, const CHostRef<CScene>& source, bool isLoaded) const {
    std::string path;
    {
        const CReading reading(*m_scenes->workspace);
        path = source->document().filename();
    }
    CTold::tell(*m_scenes, scene, source, path, isLoaded);
}

// Throws GRAPH_CYCLIC if the file is one of those whose references are being loaded.
CHostRef<CScene> CSceneReferences::open(const CDocument& document, const std::string& path, double offset) const {
    const std::string wanted = kzCanonicalPath(path);
    const Opening opening(document.filename().empty() ? std::string() : kzCanonicalPath(document.filename()));
    if (std::ranges::find(theOpening, wanted) != theOpening.end())
        throw kzBecause(KZeGRAPH_CYCLIC, kzReferencePlace, [&] {
            std::string chain;
            for (const std::string& each : theOpening) chain += "\"" + each + "\" refers to ";
            return "scenes refer to each other in a circle: " + chain + "\"" + wanted + "\"";
        });
    if (theOpening.size() > deepestReference)
        throw kzBecause(KZe_INVALIDARG, kzReferencePlace, [&] {
            return fmt::format("{}: references lead from file to file more than {} times", wanted, deepestReference);
        });
    auto source = m_files->open(path, nullptr);
    if (offset != 0) delay(source->document(), offset);
    const CReading reading(*m_scenes->workspace);
    Item& root = *source->document().root();
    root.flags |= KZfITEM_REFERENCE;
    return source;
}

// What the packages of the items have is written before these are copied.
void CSceneReferences::attach(const CHostRef<CItem>& item, CHostRef<CScene> source) const {
    const ItemRef held = item->read()->shared_from_this();
    Item& reference = *held;
    CDocument& document = reference.document;
    CWorkspace& workspace = document.workspace();
    if (const CItemPackages* packages = kzItemPackages(workspace)) packages->collectData(source->document());
    auto state = std::make_shared<ReferenceState>();
    state->scene = source;
    state->spent = m_spent;
    RenamedItems renamed;
    CPackageLoad load(document, CPackageLoad::Kind::whole);
    try {
        CEdit edit(workspace);
        const CReferencedEdits allowed;
        if (!reference.isPresent) throw KZe_NOTAVAILABLE;
        const std::string text = kzWriteScene(source->document(), ReferencedItems::included);
        Overrides overrides = kzChangesKept(reference);
        state->item = &reference;
        renamed = kzReadReferenced(text, reference, edit);
        if (isOn(reference, KZsICHAN_REFERENCE_OVERRIDES)) applyOverrides(reference, overrides, *state, edit);
        else state->kept = std::move(overrides);
        edit.setValue(reference, *reference.type.channel(KZsICHAN_REFERENCE_LOADED), std::nullopt);
        setState(reference, std::move(state), edit);
        edit.commit();
    } catch (const SceneFileError& error) {
        throw kzBecause(KZe_FAILED, kzReferencePlace,
                        [&] { return source->document().filename() + ": " + error.what(); });
    }
    load.finish(false, renamed);
    make(document, source, true);
}

// The listeners hear of the items while these are still whole.
CHostRef<CScene> CSceneReferences::detach(const CHostRef<CItem>& reference) const {
    CWorkspace& workspace = *m_scenes->workspace;
    DocumentEvents removing;
    {
        const auto item = reference->read();
        item->children.each([&](Item& child) {
            if (kzIsReferenced(child)) std::ranges::move(kzRemoving(child), std::back_inserter(removing));
        });
    }
    for (const DocumentEvent& event : removing) workspace.tell(event);
    CHostRef<CScene> source;
    CDocument* document = nullptr;
    {
        CEdit edit(workspace);
        const CReferencedEdits allowed;
        const auto item = reference->read();
        ReferenceState* before = kzReferenceOf(*item);
        if (before == nullptr || !before->scene) return {};
        source = before->scene;
        document = &item->document;
        auto state = std::make_shared<ReferenceState>();
        state->kept = kzChangesKept(*item);
        std::vector<Item*> tops;
        item->children.each([&](Item& child) {
            if (kzIsReferenced(child)) tops.push_back(&child);
        });
        for (Item* top : tops) edit.remove(*top);
        setState(*item, std::move(state), edit);
        edit.commit();
    }
    make(*document, source, false);
    return source;
}

// The file is read before anything is taken away.
void CSceneReferences::reload(const CHostRef<CItem>& reference) const {
    m_spent->end();
    std::string path;
    double offset = 0;
    const CDocument* document = nullptr;
    {
        const auto item = reference->read();
        demandReference(*item);
        document = &item->document;
        path = pathOf(*item);
        offset = kzNumberOf(item->valueOf(*item->type.channel(KZsICHAN_REFERENCE_TIMEOFFSET))).value_or(0);
    }
    const auto scene = sceneOf(reference);  // keeps the document while loaders and listeners are called
    const auto source = open(*document, path, offset);
    CTentativeStep step(*m_scenes->workspace, "Load Reference");
    const auto before = detach(reference);
    attach(reference, source);
    step.keep();
    if (before) tell(scene, before, false);
    tell(scene, source, true);
}

void CSceneReferences::unload(const CHostRef<CItem>& reference) const {
    m_spent->end();
    {
        const auto item = reference->read();
        demandReference(*item);
    }
    CTentativeStep step(*m_scenes->workspace, "Unload Reference");
    const auto before = detach(reference);
    {
        CEdit edit(*m_scenes->workspace);
        const auto item = reference->read();
        edit.setValue(*item, *item->type.channel(KZsICHAN_REFERENCE_LOADED), KzCell(std::int32_t{0}));
        edit.commit();
    }
    step.keep();
    if (before) tell(sceneOf(reference), before, false);
}

void CSceneReferences::loadAll(CScene& scene) const {
    std::vector<CHostRef<CItem>> wanted;
    {
        const CReading reading(*m_scenes->workspace);
        for (Item* item : kzReferencesIn(scene.document())) {
            const ReferenceState* state = kzReferenceOf(*item);
            if ((state == nullptr || !state->scene) && isOn(*item, KZsICHAN_REFERENCE_LOADED))
                wanted.push_back(kzObjectOf(*item));
        }
    }
    for (const auto& each : wanted) {
        try {
            reload(each);
        } catch (const KzResult& code) {
            if (code == KZeGRAPH_CYCLIC && !theOpening.empty()) throw;
            kzBecause(code, kzReferencePlace, [&] {
                return fmt::format("\"{}\" is not loaded; the reference and what was changed of its items are kept",
                                   each->read()->uniqueName);
            });
        }
    }
}

}  // namespace kzhost
