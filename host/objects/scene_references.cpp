// What a scene says of references.
#include "host/document/referenced.h"
#include "host/objects/item.h"
#include "host/objects/reference_loader.h"
#include "host/objects/references.h"
#include "host/objects/scene.h"
#include "host/state/text.h"

#include "kz/result.h"

#include <string>
#include <vector>

namespace kzhost {

KzResult CScene::scene_ItemAddReference(const char* ident, std::int32_t type, const char* path, IKzUnknown** item) {
    const auto references = kzReferenceLoader(open().workspace());
    if (references == nullptr) return KZe_NOTAVAILABLE;
    return references->bringIn(*this, std::string(kzTextOf(ident)), type, std::string(kzTextOf(path))).give(item);
}

// Those that nobody sees, because they are only there for the scenes that refer to them.
bool CScene::scene_IsReference() {
    const CReading reading(m_document->workspace());
    return m_document->isOpen() && kzIsReferenced(*m_document->root());
}

namespace {

std::vector<CHostRef<CScene>> subScenesOf(const CDocument& document) {
    std::vector<CHostRef<CScene>> scenes;
    for (const Item* item : kzReferencesIn(document))
        if (const ReferenceState* state = kzReferenceOf(*item); state != nullptr && state->scene)
            scenes.push_back(state->scene);
    return scenes;
}

}  // namespace

std::uint32_t CScene::scene_SubSceneCount() {
    const CReading reading(m_document->workspace());
    return static_cast<std::uint32_t>(subScenesOf(*m_document).size());
}

KzResult CScene::scene_SubSceneByIndex(std::uint32_t index, IKzUnknown** scene) {
    std::vector<CHostRef<CScene>> scenes;
    {
        const CReading reading(m_document->workspace());
        scenes = subScenesOf(*m_document);
    }
    return index < scenes.size() ? scenes[index].give(scene) : KZe_OUTOFBOUNDS;
}

}  // namespace kzhost
