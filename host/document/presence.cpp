// The change that adds an item to its document or takes it out.
#include "host/document/presence.h"

#include "host/document/workspace.h"

namespace kzhost {

void CDocument::Presence::operator()(Direction direction, DocumentEvents& events) {
    CDocument& document = item->document;
    if (isAdded(direction)) {
        document.enter(*item, parent, position);
        events.push_back({.kind = DocumentEvent::Kind::itemAdded, .document = &document, .item = item});
    } else {
        parent = item->parent;
        position = document.siblings(parent).positionOf(*item);
        document.m_workspace.selection().purge(*item, events);
        document.leave(*item);
        events.push_back(
            {.kind = DocumentEvent::Kind::itemRemoved, .document = &document, .other = item, .text = item->ident});
    }
}

void CDocument::Presence::announce(Direction direction, DocumentEvents& events) const {
    if (!isAdded(direction))
        events.push_back({.kind = DocumentEvent::Kind::itemRemoving, .document = &item->document, .item = item});
}

}  // namespace kzhost
