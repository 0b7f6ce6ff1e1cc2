// Items that come from another scene.
#include "host/document/referenced.h"

#include "host/core/reasons.h"

#include "kz/result.h"

#include <fmt/format.h>

namespace kzhost {

static thread_local int theReferencedEdits = 0;

CReferencedEdits::CReferencedEdits() noexcept { ++theReferencedEdits; }
CReferencedEdits::~CReferencedEdits() { --theReferencedEdits; }

void kzDemandOwn(const Item& item, const char* change) {
    if (!kzIsReferenced(item) || theReferencedEdits > 0) return;
    throw kzBecause(KZe_NOACCESS, "Scene.Reference", [&] {
        return fmt::format("\"{}\" comes from another scene, so it cannot be {} here: only the values of its channels "
                           "are stored; change it in its own scene",
                           item.uniqueName, change);
    });
}

}  // namespace kzhost
