// What happens to documents, as it is told to those who listen.
#pragma once

#include "host/document/item.h"

#include <functional>
#include <string>
#include <vector>

namespace kzhost {

// `item`, `other`, `text` and the numbers mean what the comment at the kind says; the rest is empty.
struct DocumentEvent {
    enum class Kind {
        itemAdded,
        itemRemoving,  // the item is still whole
        itemRemoved,   // text: the identifier; other: the item
        renamed,       // text: the former name, as the user gave it
        parented,      // other: the former parent
        moved,         // first: the position
        flags,         // first: the flags that are different now
        tag,           // first: the code
        source,        // other: the new source
        channelAdded,  // text: the channel
        channelRemoved,
        channelValue,  // text: the channel
        linkAdded,     // text: the graph; item and other: its ends
        linkRemoved,
        linkMoved,         // first: the position
        channelLinkAdded,  // item and other: its ends; first and second: their channels
        channelLinkRemoved,
        filename,
        modified,      // first: nonzero while there are unsaved changes
        packageAdded,  // text: the package
        packageRemoved,
        geometry,    // of the item
        batchBegin,  // many events of the document follow
        batchEnd,
        history,           // a step was added, undone, redone or removed
        undoLocked,        // first: nonzero while a block is open, so that nothing can be undone
        groupMembers,      // of the item: channels joined or left
        selectionCurrent,  // first: the type, as for the others
        selectionAdded,    // second: the subtype
        selectionRemoved,  // second: the subtype
        selectionCleared,
        keyAdded,     // text: the channel; time
        keyRemoved,   // as above
        keyMoved,     // text: the channel; oldTime and time
        envelope,     // text: the channel, several of whose keys have changed
        action,       // of the item: what an action says of its channel; text: the action; first: fACTIONCHANGE
        currentTime,  // time
        playRange,    // oldTime and time: its start and end
    };
    Kind kind;
    CDocument* document = nullptr;
    ItemRef item = {};
    ItemRef other = {};
    std::string text = {};
    std::int64_t first = 0, second = 0;
    double time = 0, oldTime = 0;  // seconds
};

using DocumentEvents = std::vector<DocumentEvent>;
using DocumentSink = std::function<void(const DocumentEvent&)>;

}  // namespace kzhost
