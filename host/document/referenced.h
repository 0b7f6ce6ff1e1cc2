// Items that come from another scene. What a document cannot store about them is refused.
#pragma once

#include "host/document/item.h"

namespace kzhost {

inline bool kzIsReferenced(const Item& item) { return (item.flags & KZfITEM_REFERENCE) != 0; }

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

}  // namespace kzhost
