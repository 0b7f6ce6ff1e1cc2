// Who completes items with what modules add to them.
#pragma once

#include "host/document/document_event.h"

namespace kzhost {

class ItemKeeper {
public:
    ItemKeeper() = default;
    ItemKeeper(const ItemKeeper&) = delete;
    ItemKeeper& operator=(const ItemKeeper&) = delete;
    virtual ~ItemKeeper() = default;

    // Hears of each event before any listener, without the lock.
    virtual void tell(const DocumentEvent& event) = 0;
    // The document is about to be closed, and is still whole. Called without the lock.
    virtual void closing(CDocument& document) = 0;
};

}  // namespace kzhost
