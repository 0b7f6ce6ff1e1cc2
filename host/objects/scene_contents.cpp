// A part of a scene that is cut out, to bring it into another one.
#include "host/objects/item_collection.h"
#include "host/objects/scene.h"

#include "host/core/reasons.h"
#include "host/document/duplicate.h"

#include "kz/scene.h"
#include "kz/selection.h"

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
    // The subset is foreign, so it is asked without the lock.
    KzResult scenecontents_AddSubset(IKzUnknown* scene, IKzUnknown* subset) override {
        const auto own = kzOwn<CScene>(scene);
        const CKzUser_SceneSubset tests(subset);
        if (!tests) return KZe_INVALIDARG;
        std::vector<CHostRef<CItem>> items;
        {
            const CReading reading(*m_workspace);
            own->document().each(KZiITYPE_ANY, [&](Item& item) {
                if (item.type.number != KZiITYPE_ROOT) items.push_back(kzObjectOf(item));
            });
        }
        for (const auto& item : items)
            if (item->item_IsValid() && tests.TestItem(item.raw()) && item->item_IsValid())
                m_items->itemcollection_Add(item.raw());
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
        CDocument& document = scene->document();
        if (!document.isOpen()) return KZe_NOTAVAILABLE;
        const auto has = [&](std::int32_t flag) { return (flags & static_cast<std::uint32_t>(flag)) != 0; };
        const std::vector<Item*> sources = m_items->items();
        if (has(KZf_SCENEMERGE_REPLACE)) removeSame(sources, document, edit);
        std::uint32_t copying = KZfITEMCOPY_LINKS;
        if (has(KZf_SCENEMERGE_KEEPIDENT) || has(KZf_SCENEMERGE_REPLACE)) copying |= KZfITEMCOPY_KEEPIDENT;
        if (has(KZf_SCENEMERGE_ACTIONS)) copying |= KZfITEMCOPY_ANIMATION;
        const std::vector<Item*> selected = kzSelectedItems(*m_workspace, KZiITYPE_ANY);
        Item* above = has(KZf_SCENEMERGE_PARENT) && !selected.empty() && &selected.back()->document == &document
                          ? selected.back()
                          : nullptr;
        const std::vector<Item*> copies = kzDuplicateAll(sources, document, copying, edit);
        PacketList packets;
        for (Item* copy : copies) {
            if (copy->parent == nullptr && above != nullptr) edit.place(*copy, above, CEdit::last);
            packets.add(m_workspace->selection().packet({.kind = PacketKind::item, .item = copy->shared_from_this()}));
        }
        if (has(KZf_SCENEMERGE_SELECT)) m_workspace->selection().replace(KZi_SELTYP_ITEM, std::move(packets), edit);
        edit.commit();
        return KZe_OK;
    }

private:
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
};

}  // namespace

IKzUnknown* kzMakeSceneContents(std::shared_ptr<CWorkspace> workspace) {
    return kzMakeObject<CSceneContents>(std::move(workspace));
}

}  // namespace kzhost
