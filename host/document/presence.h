// The change that adds an item to its document or takes it out. Items come alone: what is below them and what links to
// them goes before and comes back after.
#pragma once

#include "host/document/change.h"
#include "host/document/document.h"
#include "host/document/document_event.h"

namespace kzhost {

struct CDocument::Presence {
    ItemRef item;
    Item* parent;
    std::size_t position;
    bool adds;

    bool isAdded(Direction direction) const { return adds == (direction == Direction::forward); }
    void operator()(Direction direction, DocumentEvents& events);
    void announce(Direction direction, DocumentEvents& events) const;
    static constexpr std::size_t memory() { return sizeof(Item); }
};

}  // namespace kzhost
