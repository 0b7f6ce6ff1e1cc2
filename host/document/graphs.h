// The graphs of documents: which there are, and what is linked at any distance. The lock must be held.
#pragma once

#include "host/document/item.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace kzhost {

// A graph that every document has.
struct GraphInfo {
    const char* name;
    std::uint32_t type;   // iGRAPHTYPE
    std::uint32_t flags;  // fGRAPH
    bool isReadOnly;      // only the host makes its links
};
std::span<const GraphInfo> kzGraphs() noexcept;
// Null for an unknown name.
const GraphInfo* kzFindGraph(std::string_view name) noexcept;

// The links of an item in a graph of items that are linked by hand.
const ItemLinks& kzLinksOf(const Item& item, std::string_view graph);
// The items to which this one is linked directly, in any graph.
std::vector<Item*> kzNextIn(const Item& item, const GraphInfo& graph, bool forward);
// The item and everything linked to it at any distance, each once, behind all that lead to it.
std::vector<Item*> kzReach(Item& start, const GraphInfo& graph, bool forward);
// True if a link from one to the other would close a loop.
bool kzWouldClose(Item& source, Item& target, const GraphInfo& graph);
bool kzChannelsWouldClose(Item& source, const ChannelInfo& sourceChannel, Item& target,
                          const ChannelInfo& targetChannel);

}  // namespace kzhost
