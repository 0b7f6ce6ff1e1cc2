// Items that come from another scene. What a document cannot store about them is refused.
#pragma once

#include "host/document/item.h"

namespace kzhost {

inline bool kzIsReferenced(const Item& item) { return (item.flags & KZfITEM_REFERENCE) != 0; }

// Whether the item is another scene's, or its whole scene is only there for others that refer to it.
bool kzIsForeign(const Item& item);

// While it lives, its thread puts such items into a document or takes them away.
class CReferencedEdits {
public:
    CReferencedEdits() noexcept;
    CReferencedEdits(const CReferencedEdits&) = delete;
    CReferencedEdits& operator=(const CReferencedEdits&) = delete;
    ~CReferencedEdits();
};

// Throws NOACCESS for such an item, unless they may be changed; `change` says what would happen to it.
void kzDemandOwn(const Item& item, const char* change);
// Throws NOACCESS for a scene that is only there for others.
void kzDemandOwn(const CDocument& document);

}  // namespace kzhost
