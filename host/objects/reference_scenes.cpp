// Adds references to scenes, and knows which scenes they lead to.
#include "host/core/reasons.h"
#include "host/document/step_block.h"
#include "host/objects/item.h"
#include "host/objects/reference_paths.h"
#include "host/objects/references.h"
#include "host/objects/spent_scenes.h"

#include "kz/result.h"
#include "kz/scene.h"
#include "kz/scene_event.h"

#include <fmt/format.h>

#include <filesystem>
#include <utility>

namespace kzhost {

namespace {

namespace fs = std::filesystem;

}  // namespace

CHostRef<CItem> CSceneReferences::add(CScene& scene, const std::string& path) const {
    m_spent->end();
    if (!scene.document().isOpen()) throw KZe_NOTAVAILABLE;
    if (path.empty())
        throw kzBecause(KZe_INVALIDARG, kzReferencePlace, [] { return "a reference needs the path of a scene"; });
    const std::string place = fs::absolute(path).lexically_normal().string();
    return add(scene, place, open(scene.document(), place, 0));
}

CHostRef<CItem> CSceneReferences::add(CScene& scene, const std::string& place, const CHostRef<CScene>& source) const {
    CWorkspace& workspace = *m_scenes->workspace;
    CTentativeStep step(workspace, "Add Reference");
    CHostRef<CItem> reference;
    {
        CEdit edit(workspace);
        Item& item = edit.add(scene.document(), *kzFindItemType(KZsITYPE_REFERENCE));
        edit.rename(item, fs::path(place).stem().string());
        edit.setValue(item, *item.type.channel(KZsICHAN_REFERENCE_PATH), KzCell(place));
        reference = kzObjectOf(item);
        edit.commit();
    }
    attach(reference, source);
    step.keep();
    tell(scene.self(), source, true);
    return reference;
}

CHostRef<CItem> CSceneReferences::bringIn(CScene& scene, const std::string& ident, std::int32_t type,
                                          const std::string& path) const {
    const std::string place = fs::absolute(path).lexically_normal().string(), wanted = kzCanonicalPath(place);
    CHostRef<CItem> reference;
    CHostRef<CScene> source;
    {
        const CReading reading(*m_scenes->workspace);
        for (Item* each : kzReferencesIn(scene.document()))
            if (const ReferenceState* state = kzReferenceOf(*each);
                state != nullptr && state->scene && kzCanonicalPath(state->scene->document().filename()) == wanted) {
                reference = kzObjectOf(*each);
                source = state->scene;
                break;
            }
    }
    if (!source) source = open(scene.document(), place, 0);
    {
        const CReading reading(*m_scenes->workspace);
        const Item* item = source->document().byIdent(ident);
        if (item == nullptr || item->type.number == KZiITYPE_ROOT || !kzIsItemType(item->type.number, type))
            throw kzBecause(KZe_NOTFOUND, "Scene.ItemAddReference", [&] {
                return item == nullptr ? fmt::format("{} has no item \"{}\"", place, ident)
                                       : fmt::format("the item \"{}\" of {} is a {}", ident, place, item->type.name);
            });
    }
    if (!reference) reference = add(scene, place, source);
    const auto own = reference->read();
    Item* item = own->document.byIdent(own->ident + "/" + ident);
    if (item == nullptr) throw KZe_NOTFOUND;
    return kzObjectOf(*item);
}

void CSceneReferences::tellLoaded(CScene& scene) const {
    std::vector<CHostRef<CScene>> loaded;
    {
        const CReading reading(*m_scenes->workspace);
        for (const Item* item : kzReferencesIn(scene.document()))
            if (const ReferenceState* state = kzReferenceOf(*item); state != nullptr && state->scene)
                loaded.push_back(state->scene);
    }
    for (const auto& source : loaded)
        m_scenes->tell([&](IKzSceneItemListener& each) { each.ReferenceLoaded(scene.self().raw(), source.raw()); });
}

std::shared_ptr<CSceneReferences> kzMakeSceneReferences(std::shared_ptr<OpenScenes> scenes,
                                                        std::shared_ptr<CSceneFiles> files) {
    const CWorkspace& workspace = *scenes->workspace;
    auto made = std::make_shared<CSceneReferences>(std::move(scenes), std::move(files));
    kzKeepReferenceLoader(workspace, made);
    return made;
}

}  // namespace kzhost
