// Reads documents from text: a statement after the other, each of which is checked before it is carried out.
#pragma once

#include "host/document/envelope.h"
#include "host/objects/scene_file.h"
#include "host/objects/scene_mesh_text.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace kzhost {

inline constexpr std::int64_t kzMostItems = 50'000'000;

// Links of one graph, in whose order a circle can be found.
class CCircles {
public:
    using Node = std::pair<const void*, const void*>;
    void add(Node source, Node target, std::size_t line) {
        m_links[source].push_back({target, line}), ++m_open[target];
    }
    // The line of a link that belongs to a circle or leads out of one; 0 if there is none.
    std::size_t find() {
        std::vector<Node> free;
        for (const auto& [node, links] : m_links)
            if (!m_open.contains(node)) free.push_back(node);
        while (!free.empty()) {
            const auto entry = m_links.find(free.back());
            free.pop_back();
            if (entry == m_links.end()) continue;
            for (const auto& [target, line] : entry->second)
                if (--m_open[target] == 0) free.push_back(target);
            m_links.erase(entry);
        }
        return m_links.empty() ? 0 : m_links.begin()->second.front().second;
    }

private:
    std::map<Node, std::vector<std::pair<Node, std::size_t>>> m_links;
    std::map<Node, std::size_t> m_open;
};

class CSceneReader {
public:
    CSceneReader(std::string_view text, CDocument& document, CEdit& edit, bool isImport)
        : m_in(text), m_document(document), m_edit(edit), m_isImport(isImport) {}
    void run();
    // As an import for that reference.
    void runReferenced(Item& reference);
    // Statements about the channels of an item, and nothing else.
    void runChannels(Item& item);
    RenamedItems renamed() const;

private:
    using Statement = void (CSceneReader::*)();
    // What a statement goes on with. One that begins something new ends what was begun before.
    enum class Part { top, type, item, channel, envelope, wire };
    struct Row {
        Statement run;
        Part part;
    };
    static const std::map<std::string_view, Row>& statements();

    void type();
    void title();
    void channel();
    void minimum();
    void maximum();
    void unit();
    void object();
    void from();
    void choices();
    void choice();
    void item();
    void name();
    void flags();
    void tag();
    void package();
    void data();
    void value();
    void reset();
    void overridden();
    void action();
    void envelope();
    void key();
    void mesh();
    void place();
    bool isInPlace(const Item& root);
    void instance();
    void member();
    void link();
    void wire();
    void attribute();
    void end();

    // Carries out what several statements have described.
    void finishChannel();
    void finishType();
    void finishEnvelope();
    void finishMesh();
    void finishPart();
    void finishAll();
    void restoreReferences();
    void refuseCircles();
    void setSources();

    Item& current() const;
    Item* itemNamed();
    const ChannelInfo& channelOf(Item& item);
    KzCell cellFor(const ChannelInfo& info);
    ChannelInfo& described() { return m_channel ? *m_channel : (m_in.fail("a channel comes first"), *m_channel); }
    std::size_t placeAt(const std::pair<std::string, const Item*>& target);

    CSceneWords m_in;
    CDocument& m_document;
    CEdit& m_edit;
    const bool m_isImport;
    std::string m_prefix;  // of the identifiers

    std::unordered_map<std::string, Item*> m_items;  // by their identifiers in the text; null for one that is left out
    std::unordered_set<const Item*> m_placed;
    std::size_t m_rootCount = 0;  // that have their places
    bool m_isOrdered = true;
    std::optional<ItemTypeDeclaration> m_type;
    std::unordered_map<std::string, const ItemType*> m_types;  // those that the text describes
    std::optional<ChannelInfo> m_channel;
    std::vector<std::pair<std::int32_t, std::string>> m_choices;
    Item* m_item = nullptr;
    bool m_isLeftOut = false;  // the current item: the scene item of an import
    std::map<const ChannelInfo*, ChannelState> m_states;
    struct OpenEnvelope {
        const ChannelInfo* channel;
        std::string action;
        EnvelopeData curve;
        std::vector<EnvelopeKey> keys;
        std::size_t line;
    };
    std::optional<OpenEnvelope> m_envelope;
    std::optional<CMeshReader> m_mesh;
    ChannelLink* m_wire = nullptr;
    std::set<std::tuple<std::string, const Item*, const Item*>> m_links;
    std::set<std::tuple<const ChannelInfo*, const ChannelInfo*, const Item*, const Item*>> m_wires;
    std::map<std::string, CCircles> m_circles;
    std::unordered_set<const Item*> m_instances;
    std::vector<std::pair<Item*, Item*>> m_sources;  // instances and their sources
    std::set<std::tuple<const Item*, const Item*, const ChannelInfo*>> m_members;
    std::map<std::pair<std::string, const Item*>, std::vector<std::size_t>> m_order;  // of the links at a target
    bool m_isOver = false;
};

}  // namespace kzhost
