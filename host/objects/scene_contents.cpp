// A part of a scene that is cut out, to bring it into another one.
#include "host/core/reasons.h"
#include "host/document/animation.h"
#include "host/document/duplicate.h"
#include "host/objects/item_collection.h"
#include "host/objects/item_packages.h"
#include "host/objects/scene.h"
#include "host/state/text.h"

#include "kz/action.h"
#include "kz/scene.h"
#include "kz/selection.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// The flags of a merge that mean nothing here: scenes have one unit system.
class CSceneContents final : public CHosted<"scene contents", CSceneContents, CKzIfc_SceneContents> {
public:
    explicit CSceneContents(std::shared_ptr<CWorkspace> workspace)
        : m_workspace(std::move(workspace)), m_items(CHostRef<CItemCollection>::make(m_workspace)) {}

    KzResult scenecontents_AddItem(IKzUnknown* item) override {
        if (const KzResult code = m_items->itemcollection_Add(item); kzFailed(code)) return code;
        return m_items->itemcollection_AddChildren(item, 1);
    }
    // An action that every scene has brings its keys along; an added one is an item.
    KzResult scenecontents_AddAction(IKzUnknown* clip) override {
        const SceneAction action = kzActionOf(clip);
        const CReading reading(*m_workspace);
        if (!action.scene->document().isOpen()) return KZe_NOTAVAILABLE;
        Item* item = action.scene->document().byIdent(action.action);
        if (item != nullptr) m_items->add(*item);
        else if (kzIsSceneAction(action.action)) m_hasKeys = true;
        else return KZe_NOTAVAILABLE;
        return KZe_OK;
    }
    // The subset is foreign, so it is asked without the lock.
    KzResult scenecontents_AddSubset(IKzUnknown* scene, IKzUnknown* subset) override {
        const auto own = kzOwn<CScene>(scene);
        const CKzUser_SceneSubset tests(subset);
        if (!tests) return KZe_INVALIDARG;
        std::vector<CHostRef<CItem>> items;
        std::deque<CKzLoc_Unknown> actions;
        {
            const CReading reading(*m_workspace);
            if (!own->document().isOpen()) return KZe_NOTAVAILABLE;
            own->document().each(KZiITYPE_ANY, [&](Item& item) {
                if (item.type.number != KZiITYPE_ROOT && !kzIsActionItem(item)) items.push_back(kzObjectOf(item));
            });
            for (std::uint32_t i = 0; i < own->scene_ActionCount(0); ++i)
                own->scene_ActionByIndex(i, actions.emplace_back().out());
        }
        for (const auto& item : items)
            if (item->item_IsValid() && tests.TestItem(item.raw()) && item->item_IsValid())
                m_items->itemcollection_Add(item.raw());
        for (const auto& clip : actions)
            if (tests.TestAction(clip.raw())) scenecontents_AddAction(clip.raw());
        return KZe_OK;
    }
    KzResult scenecontents_Items(IKzUnknown** items) override {
        auto copy = CHostRef<CItemCollection>::make(m_workspace);
        copy->itemcollection_AddCollection(m_items.raw());
        return copy.give(items);
    }
    KzResult scenecontents_Merge(IKzUnknown* target, std::uint32_t flags) override {
        const auto scene = kzOwn<CScene>(target);
        CEdit edit(*m_workspace);
        if (!scene->document().isOpen()) return KZe_NOTAVAILABLE;
        merge(scene->document(), flags, edit);
        edit.commit();
        return KZe_OK;
    }
    // A scene that nobody sees takes the contents, and is written.
    KzResult scenecontents_Store(const char* path, const char* format) override {
        if (kzTextOf(path).empty()) return KZe_INVALIDARG;
        const auto scene = kzOpenScene(*m_workspace, std::filesystem::path(path).stem().string());
        struct Closing {
            CScene& scene;
            ~Closing() { scene.close(); }
        } const closing{*scene};
        collect(KZiCOLLECT_STORE);
        {
            CEdit edit(*m_workspace);
            merge(scene->document(), haveOwnIdents() ? KZf_SCENEMERGE_KEEPIDENT : 0, edit);
            edit.commitLoaded(scene->document());
        }
        const auto& write = m_workspace->writer();
        return write ? write(scene->document(), path, format) : KZe_NOTAVAILABLE;
    }

private:
    // What goes along with the items, and the data that packages keep with them.
    void collect(std::uint32_t purpose) {
        std::vector<CHostRef<CItem>> items;
        {
            const CReading reading(*m_workspace);
            for (Item* item : m_items->items()) items.push_back(kzObjectOf(*item));
        }
        for (const auto& each : kzWithCompanions(*m_workspace, std::move(items), purpose)) {
            m_items->itemcollection_Add(each.raw());
            kzItemPackages(*m_workspace)->collectData(*each);
        }
    }
    void merge(CDocument& document, std::uint32_t flags, CEdit& edit) const {
        const auto has = [&](std::int32_t flag) { return (flags & static_cast<std::uint32_t>(flag)) != 0; };
        const std::vector<Item*> sources = m_items->items();
        if (has(KZf_SCENEMERGE_REPLACE)) removeSame(sources, document, edit);
        std::uint32_t copying = KZfITEMCOPY_LINKS;
        if (has(KZf_SCENEMERGE_KEEPIDENT) || has(KZf_SCENEMERGE_REPLACE)) copying |= KZfITEMCOPY_KEEPIDENT;
        if (has(KZf_SCENEMERGE_ACTIONS) || m_hasKeys) copying |= KZfITEMCOPY_ANIMATION;
        const std::vector<Item*> selected = kzSelectedItems(*m_workspace, KZiITYPE_ANY);
        Item* above = has(KZf_SCENEMERGE_PARENT) && !selected.empty() && &selected.back()->document == &document
                          ? selected.back()
                          : nullptr;
        const std::vector<Item*> copies = kzDuplicateAll(sources, document, copying, edit);
        PacketList packets;
        for (Item* copy : copies) {
            if (copy->parent == nullptr && above != nullptr) edit.place(*copy, above, CEdit::last);
            if (has(KZf_SCENEMERGE_SELECT))
                packets.add(
                    m_workspace->selection().packet({.kind = PacketKind::item, .item = copy->shared_from_this()}));
        }
        if (has(KZf_SCENEMERGE_SELECT)) m_workspace->selection().replace(KZi_SELTYP_ITEM, std::move(packets), edit);
    }
    // Items of several scenes may have the same identifiers.
    bool haveOwnIdents() const {
        std::set<std::string_view> idents;
        const auto items = m_items->items();
        return std::all_of(items.begin(), items.end(),
                           [&](const Item* item) { return idents.insert(item->ident).second; });
    }
    // Items cannot replace themselves.
    static void removeSame(const std::vector<Item*>& sources, CDocument& document, CEdit& edit) {
        for (const Item* source : sources) {
            Item* same = document.byIdent(source->ident);
            if (same == source)
                throw kzBecause(KZe_INVALIDARG, "SceneContents.Merge", [] {
                    return "the contents come from this scene, so they cannot replace anything in it";
                });
            if (same != nullptr && same != document.root()) edit.remove(*same);
        }
    }

    const std::shared_ptr<CWorkspace> m_workspace;
    const CHostRef<CItemCollection> m_items;
    bool m_hasKeys = false;
};

}  // namespace

IKzUnknown* kzMakeSceneContents(std::shared_ptr<CWorkspace> workspace) {
    return kzMakeObject<CSceneContents>(std::move(workspace));
}

}  // namespace kzhost
