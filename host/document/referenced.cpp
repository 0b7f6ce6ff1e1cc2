// Items that come from another scene.
#include "host/document/referenced.h"

#include "host/core/reasons.h"
#include "host/document/document.h"

#include "kz/result.h"

#include <fmt/format.h>

namespace kzhost {

static thread_local int theReferencedEdits = 0;

CReferencedEdits::CReferencedEdits() noexcept { ++theReferencedEdits; }
CReferencedEdits::~CReferencedEdits() { --theReferencedEdits; }

static bool isOthers(const CDocument& document) {
    const Item* root = document.root();
    return root != nullptr && kzIsReferenced(*root);
}

bool kzIsForeign(const Item& item) { return kzIsReferenced(item) || isOthers(item.document); }

void kzDemandOwn(const CDocument& document) {
    if (!isOthers(document) || theReferencedEdits > 0) return;
    throw kzBecause(KZe_NOACCESS, "Scene.Reference", [&] {
        return fmt::format("\"{}\" is open only for scenes that refer to it, so nothing can be changed in it; load the "
                           "file as a scene of its own",
                           document.filename());
    });
}

void kzDemandOwn(const Item& item, const char* change) {
    if (!kzIsReferenced(item) || theReferencedEdits > 0) return;
    throw kzBecause(KZe_NOACCESS, "Scene.Reference", [&] {
        return fmt::format("\"{}\" comes from another scene, so it cannot be {} here: only the values of its channels "
                           "are stored; change it in its own scene",
                           item.uniqueName, change);
    });
}

}  // namespace kzhost
