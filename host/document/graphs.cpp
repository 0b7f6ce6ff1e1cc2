// The graphs of documents: which there are, and what is linked at any distance.
#include "host/document/graphs.h"

#include "kz/mesh_operation.h"
#include "kz/scene_graph.h"

#include <algorithm>
#include <array>
#include <unordered_set>
#include <utility>

namespace kzhost {

namespace {

constexpr std::uint32_t onItems = KZiGRAPHTYPE_ITEM;
constexpr std::uint32_t evaluates = KZfGRAPH_EVALUATE, copies = KZfGRAPH_COPY, cycles = KZfGRAPH_ALLOWCYCLES;

constexpr std::array<GraphInfo, 16> theGraphs{{
    {KZsGRAPH_PARENT, onItems, KZfGRAPH_SINGLEREV | copies, true},
    {KZsGRAPH_CHANLINKS, KZiGRAPHTYPE_CHANNEL, evaluates | copies, false},
    {KZsGRAPH_GROUPS, onItems, copies, false},
    {KZsGRAPH_SCHEMATIC, onItems, cycles, false},
    {KZsGRAPH_XFRMCORE, onItems, evaluates | copies, false},
    {KZsGRAPH_XFRMLOCAL, onItems, evaluates | copies, false},
    {KZsGRAPH_SHADELOC, onItems, evaluates | copies, false},
    {KZsGRAPH_DEFORMERS, onItems, evaluates | copies, false},
    {KZsGRAPH_FALLOFF, onItems, evaluates | copies, false},
    {KZsGRAPH_SIMULATION, onItems, evaluates | copies, false},
    {KZsGRAPH_CURVEGROUP, onItems, evaluates | copies, false},
    {KZsGRAPH_SOURCE, onItems, evaluates | copies, false},
    {KZsGRAPH_ACTION, onItems, copies, false},
    {KZsGRAPH_INPUT, onItems, evaluates | copies, false},
    {KZsGRAPH_ASSEMBLY, onItems, copies, false},
    {KZsGRAPH_MESHOPS, onItems, evaluates | copies, false},
}};

}  // namespace

std::span<const GraphInfo> kzGraphs() noexcept { return theGraphs; }

const GraphInfo* kzFindGraph(std::string_view name) noexcept {
    const auto match =
        std::find_if(theGraphs.begin(), theGraphs.end(), [&](const auto& graph) { return name == graph.name; });
    return match != theGraphs.end() ? &*match : nullptr;
}

const ItemLinks& kzLinksOf(const Item& item, std::string_view graph) {
    static const ItemLinks none;
    const auto entry = item.links.find(graph);
    return entry != item.links.end() ? entry->second : none;
}

std::vector<Item*> kzNextIn(const Item& item, const GraphInfo& graph, bool forward) {
    if (graph.type == static_cast<std::uint32_t>(KZiGRAPHTYPE_CHANNEL)) {
        std::vector<Item*> next;
        for (const auto& link : forward ? item.outputs : item.inputs) {
            Item* other = forward ? link->target : link->source;
            if (std::find(next.begin(), next.end(), other) == next.end()) next.push_back(other);
        }
        return next;
    }
    if (graph.isReadOnly) {  // the links of the tree lead from a parent to what is below it
        std::vector<Item*> next;
        if (forward) item.children.each([&](Item& child) { next.push_back(&child); });
        else if (item.parent != nullptr) next.push_back(item.parent);
        return next;
    }
    const ItemLinks& links = kzLinksOf(item, graph.name);
    return forward ? links.forward : links.reverse;
}

// In an order in which everything stands behind all that leads to it: the reversed order of leaving in a depth-first walk,
// which keeps its own stack, as a chain may be longer than the thread's.
std::vector<Item*> kzReach(Item& start, const GraphInfo& graph, bool forward) {
    struct Visit {
        Item* item;
        std::vector<Item*> next;
    };
    std::vector<Item*> left;
    std::unordered_set<const Item*> seen{&start};
    std::vector<Visit> stack;
    const auto enter = [&](Item& item) {
        auto next = kzNextIn(item, graph, forward);
        stack.push_back({&item, std::move(next)});
    };
    for (enter(start); !stack.empty();) {
        Visit& top = stack.back();
        if (top.next.empty()) {
            left.push_back(top.item);
            stack.pop_back();
        } else {
            Item* next = top.next.back();
            top.next.pop_back();
            if (seen.insert(next).second) enter(*next);
        }
    }
    std::reverse(left.begin(), left.end());
    return left;
}

// Goes on from both ends by turns, and is done when the shorter side is: chains grow at their ends.
bool kzWouldClose(Item& source, Item& target, const GraphInfo& graph) {
    if (&source == &target) return true;
    std::unordered_set<const Item*> seen[2] = {{&target}, {&source}};
    std::vector<Item*> open[2] = {{&target}, {&source}};
    for (int side = 0; !open[0].empty() && !open[1].empty(); side = 1 - side) {
        Item* item = open[side].back();
        open[side].pop_back();
        for (Item* next : kzNextIn(*item, graph, side == 0)) {
            if (seen[1 - side].contains(next)) return true;
            if (seen[side].insert(next).second) open[side].push_back(next);
        }
    }
    return false;
}

bool kzChannelsWouldClose(Item& source, const ChannelInfo& sourceChannel, Item& target,
                          const ChannelInfo& targetChannel) {
    using End = std::pair<const Item*, const ChannelInfo*>;
    const End wanted{&source, &sourceChannel};
    std::vector<End> open{{&target, &targetChannel}};
    std::vector<End> seen = open;
    while (!open.empty()) {
        const End end = open.back();
        open.pop_back();
        if (end == wanted) return true;
        for (const auto& link : end.first->outputs) {
            const End next{link->target, link->targetChannel};
            if (link->sourceChannel != end.second || std::find(seen.begin(), seen.end(), next) != seen.end()) continue;
            seen.push_back(next);
            open.push_back(next);
        }
    }
    return false;
}

}  // namespace kzhost
