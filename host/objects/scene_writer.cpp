// Writes documents as text.
#include "host/document/envelope.h"
#include "host/document/referenced.h"
#include "host/objects/item.h"
#include "host/objects/references.h"
#include "host/objects/scene_codes.h"
#include "host/objects/scene_file.h"
#include "host/objects/scene_kinds.h"
#include "host/objects/scene_mesh_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// Where things stand in lists that may be long, each of which is counted once.
class CPlaces {
public:
    template <class Element> std::size_t find(const std::vector<Element>& list, const Element& element) {
        auto& places = m_lists[&list];
        if (places.empty())
            for (std::size_t i = 0; i < list.size(); ++i) places.emplace(&*list[i], i);
        return places.at(&*element);
    }

private:
    std::unordered_map<const void*, std::unordered_map<const void*, std::size_t>> m_lists;
};

// Writes what is stored for channels.
class CChannelWriter {
public:
    void state(const ChannelInfo& info, const ChannelState& state);
    std::string finish() { return m_out.finish(); }

protected:
    void cell(const KzCell& cell);
    void envelope(const ChannelInfo& channel, const ActionValue& state);

    CSceneLines m_out;
};

class CSceneWriter : CChannelWriter {
public:
    CSceneWriter(const CDocument& document, ReferencedItems referenced)
        : m_document(document), m_isWhole(referenced == ReferencedItems::included) {
        document.each(KZiITYPE_ANY, [&](Item& item) {
            if (isWritten(item)) m_items.push_back(&item);
        });
    }
    std::string run();

private:
    // How many of the links to an item have been written.
    using Counts = std::unordered_map<const Item*, std::size_t>;

    bool isWritten(const Item& item) const { return m_isWhole || item.parent == nullptr || !kzIsReferenced(item); }
    void types();
    void type(const ItemType& type);
    void channel(const ChannelInfo& info);
    void item(Item& item);
    void values(const Item& item);
    void tree(Item& top);
    void links(const std::string& graph);
    void channelLinks(const Item& item);
    void instances(const Item& item);
    void members(const Item& group);

    const CDocument& m_document;
    const bool m_isWhole;
    std::vector<Item*> m_items;
    std::set<const ItemType*> m_described;
    Counts m_wired;
    CPlaces m_places;
};

void CChannelWriter::cell(const KzCell& cell) {
    if (const auto* whole = std::get_if<std::int32_t>(&cell)) m_out.integer(*whole);
    else if (const auto* number = std::get_if<double>(&cell)) m_out.number(*number);
    else if (const auto* text = std::get_if<std::string>(&cell)) m_out.text(*text);
    else
        for (const double each : std::get<KzColor>(cell)) m_out.number(each);
}

void CSceneWriter::channel(const ChannelInfo& info) {
    m_out.line("channel").text(info.name).text(info.type != nullptr ? info.type->name : "");
    m_out.word(kzKindWord(info.kind)).integer(info.flags).integer(info.vectorSize);
    if (info.type != nullptr) cell(info.initial);
    if (info.minimum) m_out.line("minimum").number(*info.minimum);
    if (info.maximum) m_out.line("maximum").number(*info.maximum);
    if (info.unit != nullptr) m_out.line("unit").text(info.unit);
    if (info.objectType != nullptr) m_out.line("object").text(info.objectType);
    if (!info.package.empty()) m_out.line("from").text(info.package);
    if (!info.hints) return;
    m_out.line("choices");
    for (const KzTextValueHint* row = info.hints->rows(); row->text != nullptr; ++row)
        m_out.line("choice").integer(row->value).text(row->text);
}

// A type that other hosts may lack is described, after the types that it is based on.
void CSceneWriter::type(const ItemType& type) {
    if (kzItemTypeTable().isOwn(type) || !m_described.insert(&type).second) return;
    if (type.super != nullptr) this->type(*type.super);
    m_out.line("type").text(type.name).text(type.super != nullptr ? type.super->name : "");
    if (const char* prefix = type.tag(KZs_ITEMTAG_PREFIX)) m_out.line("title").text(prefix);
    for (std::size_t i = 0; i < type.channels.size(); ++i) {
        const ChannelInfo& info = type.channels[i];
        const bool isInherited =
            type.super != nullptr && i < type.super->channels.size() && &type.super->channels[i].get() == &info;
        if (!isInherited) channel(info);
    }
}

void CSceneWriter::types() {
    for (const Item* item : m_items) type(item->type);
}

void CChannelWriter::envelope(const ChannelInfo& channel, const ActionValue& state) {
    const EnvelopeData& curve = *state.curve;
    m_out.line("envelope").text(state.action).text(channel.name).integer(curve.isInteger() ? 1 : 0);
    m_out.integer(curve.endBehavior(KZiENVSIDE_IN)).integer(curve.endBehavior(KZiENVSIDE_OUT));
    m_out.integer(curve.interpolation());
    for (std::size_t i = 0; i < curve.keys().size(); ++i) {
        const EnvelopeKey& key = curve.keys()[i];
        m_out.line("key").number(key.time).integer(key.breaks);
        for (const EnvelopeSide& side : {key.in, key.out})
            m_out.integer(side.type).number(side.value).number(side.slope).number(side.weight);
    }
}

void CChannelWriter::state(const ChannelInfo& info, const ChannelState& state) {
    if (state.value) {
        m_out.line("value").text(info.name);
        cell(*state.value);
    }
    for (const ActionValue& each : state.actions) {
        if (each.value) {
            m_out.line("action").text(each.action).text(info.name);
            cell(*each.value);
        }
        if (each.curve != nullptr) envelope(info, each);
    }
    if (state.empty()) m_out.line("reset").text(info.name);
}

void CSceneWriter::values(const Item& item) {
    std::vector<std::pair<std::int32_t, const ChannelInfo*>> channels;
    for (const auto& [info, state] : item.values) channels.emplace_back(item.indexOf(*info), info);
    std::sort(channels.begin(), channels.end());
    for (const auto& [index, info] : channels)
        if (const ChannelState& stored = item.values.at(info); !stored.empty()) state(*info, stored);
}

void CSceneWriter::item(Item& item) {
    m_out.line("item").text(item.type.name).text(item.ident);
    if (!item.name.empty() || item.number != 1) m_out.line("name").text(item.name).integer(item.number);
    m_out.line("flags").integer(item.flags);
    for (const auto& [code, text] : item.tags) m_out.line("tag").text(kzCodeText(code)).text(text);
    for (const std::string& package : item.packages) m_out.line("package").text(package);
    for (const auto& [package, data] : item.modules.data) {
        if (data->bytes.empty()) continue;
        m_out.line("data").text(package).integer(data->version);
        std::string digits;
        for (const char each : data->bytes) digits += fmt::format("{:02x}", static_cast<unsigned char>(each));
        m_out.word(digits);
    }
    for (const auto& info : item.userChannels) channel(*info);
    values(item);
    if (!m_isWhole)
        for (const auto& [ident, text] : kzChangesKept(item)) m_out.line("override").text(ident).text(text);
    if (item.source != nullptr) return;  // the mesh is the source's
    if (CMeshData* mesh = kzMeshOf(item); mesh != nullptr && mesh->points.size() + mesh->maps.size() > 0)
        kzWriteMesh(*mesh, m_out);
}

// Parents stand before what is below them. A chain of items may be longer than the stack is deep.
void CSceneWriter::tree(Item& top) {
    std::vector<Item*> open{&top};
    while (!open.empty()) {
        Item& item = *open.back();
        open.pop_back();
        m_out.line("place").text(item.ident);
        if (item.parent != nullptr) m_out.text(item.parent->ident);
        const std::size_t first = open.size();
        item.children.each([&](Item& child) {
            if (isWritten(child)) open.push_back(&child);
        });
        std::reverse(open.begin() + static_cast<std::ptrdiff_t>(first), open.end());
    }
}

void CSceneWriter::instances(const Item& item) {
    for (const Item* instance : item.instances) m_out.line("instance").text(instance->ident).text(item.ident);
}

void CSceneWriter::members(const Item& group) {
    for (const ChannelMember& member : group.channelMembers)
        m_out.line("member").text(group.ident).text(member.item->ident).text(member.channel->name);
}

// Links stand in the order of their sources. Where they stand at their target is written if it does not follow from that.
void CSceneWriter::links(const std::string& graph) {
    Counts counts;
    for (Item* source : m_items) {
        const auto entry = source->links.find(graph);
        if (entry == source->links.end()) continue;
        for (const Item* target : entry->second.forward) {
            m_out.line("link").text(graph).text(source->ident).text(target->ident);
            const auto& reverse = target->links.find(graph)->second.reverse;
            const std::size_t expected = counts[target]++;
            if (reverse[expected] != source) m_out.integer(static_cast<std::int64_t>(m_places.find(reverse, source)));
        }
    }
}

void CSceneWriter::channelLinks(const Item& item) {
    for (const auto& link : item.outputs) {
        m_out.line("wire").text(item.ident).text(link->sourceChannel->name);
        m_out.text(link->target->ident).text(link->targetChannel->name);
        const auto& inputs = link->target->inputs;
        if (inputs[m_wired[link->target]++] != link)
            m_out.integer(static_cast<std::int64_t>(m_places.find(inputs, link)));
        for (const auto& [name, value] : link->attributes) m_out.line("attribute").text(name).text(value);
    }
}

std::string CSceneWriter::run() {
    m_out.line("kzscene").integer(kzSceneFormatVersion);
    m_out.line("scene").text(m_document.name());
    types();
    for (Item* each : m_items) item(*each);
    m_document.roots().each([&](Item& root) { tree(root); });
    for (const Item* each : m_items) instances(*each);
    std::set<std::string> graphs;
    for (const Item* each : m_items)
        for (const auto& [graph, links] : each->links) graphs.insert(graph);
    for (const std::string& graph : graphs) links(graph);
    for (const Item* each : m_items) members(*each);
    for (const Item* each : m_items) channelLinks(*each);
    m_out.line("end").integer(static_cast<std::int64_t>(m_items.size()));
    return m_out.finish();
}

}  // namespace

std::string kzWriteScene(const CDocument& document, ReferencedItems referenced) {
    return CSceneWriter(document, referenced).run();
}

std::string kzWriteChannel(const ChannelInfo& channel, const ChannelState& state) {
    CChannelWriter out;
    out.state(channel, state);
    return out.finish();
}

}  // namespace kzhost
