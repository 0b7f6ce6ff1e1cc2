// The kinds of packets that selections have, and what translates them.
#include "host/objects/selection_packets.h"

#include "host/core/reasons.h"
#include "host/objects/mesh_marks.h"
#include "host/objects/scene.h"
#include "host/state/text.h"

#include "kz/element_translation.h"
#include "kz/packet.h"
#include "kz/packet_translation.h"
#include "kz/scene_graph.h"
#include "kz/selection.h"
#include "kz/transform.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace kzhost {

namespace {

std::uintptr_t numberOf(const void* pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }
KzElementId idOf(std::uintptr_t number) { return reinterpret_cast<KzElementId>(number); }

// What all kinds have: looking packets up, and what the description of a kind says.
template <class Class, KzHostName name, PacketKind kind, template <class> class Translation>
class CTranslation : public CHosted<name, Class, Translation, CKzIfc_VectorPacket> {
public:
    explicit CTranslation(std::shared_ptr<CWorkspace> workspace) : m_workspace(std::move(workspace)) {}

    KzResult vpkt_Name(const char** text) override {
        *text = theName;
        return KZe_OK;
    }
    KzResult vpkt_UserName(const char** text) override {
        const CReading reading(*m_workspace);
        *text = kzLend(m_workspace->selection().find(std::string_view(theName))->titles[0]);
        return KZe_OK;
    }
    std::uint32_t vpkt_Size() override { return kzPacketSize; }
    std::uint32_t vpkt_Flags() override { return 0; }
    std::int32_t vpkt_Compare(void* first, void* second) override {
        return std::less<>()(first, second) ? -1 : first != second;
    }

protected:
    static constexpr const char* theName = name.text;

    CWorkspace& workspace() const { return *m_workspace; }
    KzResult give(const PacketSubject& subject, void** packet) const {
        *packet = workspace().selection().packet(subject)->address;
        return KZe_OK;
    }
    // Null for an address that is no packet of this kind, or whose element has gone.
    PacketRef find(void* address) const {
        const PacketRef packet = workspace().selection().at(address);
        return packet != nullptr && packet->kind == kind && packet->isAlive() ? packet : nullptr;
    }
    PacketRef need(void* address) const {
        const PacketRef packet = workspace().selection().at(address);
        if (packet == nullptr || packet->kind != kind)
            throw kzBecause(KZe_INVALIDARG, "Selection", [] {
                return std::string("that address is no packet of a selection of the type ") + theName;
            });
        if (!packet->isAlive()) throw KZe_NOTFOUND;
        return packet;
    }
    KzResult giveItem(void* packet, IKzUnknown** item) const {
        const CReading reading(workspace());
        return kzGiveItem(need(packet)->item.lock().get(), item);
    }

private:
    const std::shared_ptr<CWorkspace> m_workspace;
};

class CItemPackets final : public CTranslation<CItemPackets, "item", PacketKind::item, CKzIfc_ItemPacketTranslation> {
public:
    using CTranslation::CTranslation;
    KzResult itempackettranslation_Packet(IKzUnknown* item, void** packet) override {
        const auto own = kzOwn<CItem>(item)->read();
        return give({.kind = PacketKind::item, .item = own->shared_from_this()}, packet);
    }
    KzResult itempackettranslation_Item(void* packet, IKzUnknown** item) override { return giveItem(packet, item); }
    std::int32_t itempackettranslation_Type(void* packet) override {
        const CReading reading(workspace());
        const PacketRef found = find(packet);
        return found != nullptr ? found->item.lock()->type.number : 0;
    }
};

class CScenePackets final
    : public CTranslation<CScenePackets, "scene", PacketKind::scene, CKzIfc_ScenePacketTranslation> {
public:
    using CTranslation::CTranslation;
    KzResult scenepackettranslation_Packet(IKzUnknown* scene, void** packet) override {
        const auto own = kzOwn<CScene>(scene);
        const CReading reading(workspace());
        if (!own->document().isOpen()) return KZe_NOTAVAILABLE;
        return give({.kind = PacketKind::scene, .document = &own->document()}, packet);
    }
    KzResult scenepackettranslation_Scene(void* packet, IKzUnknown** scene) override {
        const CReading reading(workspace());
        return kzObjectOf(*open(packet)).give(scene);
    }
    KzResult scenepackettranslation_Root(void* packet, IKzUnknown** item) override {
        const CReading reading(workspace());
        return kzGiveItem(open(packet)->root(), item);
    }
    bool scenepackettranslation_IsValid(void* packet) override {
        const CReading reading(workspace());
        return find(packet) != nullptr;
    }

private:
    CDocument* open(void* packet) const {
        const PacketRef found = find(packet);
        if (found == nullptr) throw KZe_NOTAVAILABLE;
        return found->document;
    }
};

class CChannelPackets final
    : public CTranslation<CChannelPackets, "channel", PacketKind::channel, CKzIfc_ChannelPacketTranslation> {
public:
    using CTranslation::CTranslation;
    KzResult channelpackettranslation_Packet(IKzUnknown* item, std::int32_t channel, void** packet) override {
        const auto own = kzOwn<CItem>(item)->read();
        return give(
            {.kind = PacketKind::channel, .item = own->shared_from_this(), .text = kzChannelAt(*own, channel).name},
            packet);
    }
    KzResult channelpackettranslation_Item(void* packet, IKzUnknown** item) override { return giveItem(packet, item); }
    std::int32_t channelpackettranslation_Index(void* packet) override {
        const CReading reading(workspace());
        const PacketRef found = find(packet);
        return found != nullptr ? found->item.lock()->findChannel(found->text) : -1;
    }
};

class CLinkPackets final : public CTranslation<CLinkPackets, "link", PacketKind::link, CKzIfc_LinkPacketTranslation> {
public:
    using CTranslation::CTranslation;
    KzResult linkpackettranslation_Packet(const char* graph, IKzUnknown* from, IKzUnknown* to, std::int32_t index,
                                          void** packet) override {
        const auto source = kzOwn<CItem>(from)->read();
        const auto target = kzOwn<CItem>(to)->readIn(source->document);
        const GraphInfo* info = kzFindGraph(kzTextOf(graph));
        const auto place = static_cast<std::size_t>(index);
        std::string text(kzTextOf(graph));
        const Item* end = nullptr;
        if (info != nullptr && info->type == static_cast<std::uint32_t>(KZiGRAPHTYPE_CHANNEL)) {
            if (index < 0 || place >= source->outputs.size()) return KZe_NOTFOUND;
            end = source->outputs[place]->target;
            text = kzLinkText(*source->outputs[place]);
        } else if (info != nullptr) {
            const std::vector<Item*> next = kzNextIn(*source, *info, true);
            end = index >= 0 && place < next.size() ? next[place] : nullptr;
        }
        if (end != &*target) return KZe_NOTFOUND;
        return give({.kind = PacketKind::link,
                     .item = source->shared_from_this(),
                     .other = target->shared_from_this(),
                     .text = std::move(text)},
                    packet);
    }
    KzResult linkpackettranslation_Graph(void* packet, const char** graph) override {
        const CReading reading(workspace());
        *graph = kzLend(partOf(*need(packet), 0));
        return KZe_OK;
    }
    KzResult linkpackettranslation_Ends(void* packet, IKzUnknown** from, IKzUnknown** to,
                                        std::int32_t* index) override {
        const CReading reading(workspace());
        const PacketRef found = need(packet);
        const ItemRef source = found->item.lock(), target = found->other.lock();
        *index =
            isOfChannels(*found) ? linkPlace(*source, *target, found->text) : itemPlace(*source, *target, found->text);
        if (const KzResult code = kzGiveItem(source.get(), from); kzFailed(code)) return code;
        return kzGiveItem(target.get(), to);
    }
    KzResult linkpackettranslation_Channels(void* packet, std::int32_t* from, std::int32_t* to) override {
        const CReading reading(workspace());
        const PacketRef found = need(packet);
        *from = isOfChannels(*found) ? found->item.lock()->findChannel(partOf(*found, 1)) : -1;
        *to = isOfChannels(*found) ? found->other.lock()->findChannel(partOf(*found, 2)) : -1;
        return KZe_OK;
    }

private:
    static bool isOfChannels(const SelectionPacket& packet) { return packet.text.find('\n') != std::string::npos; }
    static std::string partOf(const SelectionPacket& packet, int index) {
        std::string_view rest = packet.text;
        while (index-- > 0) rest.remove_prefix(std::min(rest.find('\n') + 1, rest.size()));
        return std::string(rest.substr(0, rest.find('\n')));
    }
    static std::int32_t itemPlace(const Item& source, const Item& target, const std::string& graph) {
        const std::vector<Item*> next = kzNextIn(source, *kzFindGraph(graph), true);
        return static_cast<std::int32_t>(std::find(next.begin(), next.end(), &target) - next.begin());
    }
    static std::int32_t linkPlace(const Item& source, const Item& target, const std::string& text) {
        const auto isIt = [&](const auto& link) { return link->target == &target && kzLinkText(*link) == text; };
        return static_cast<std::int32_t>(std::find_if(source.outputs.begin(), source.outputs.end(), isIt) -
                                         source.outputs.begin());
    }
};

// An item by a place of its own.
template <class Class, KzHostName name, PacketKind kind, template <class> class Translation>
class CPlaceTranslation : public CTranslation<Class, name, kind, Translation> {
public:
    using CTranslation<Class, name, kind, Translation>::CTranslation;

protected:
    KzResult giveLocator(IKzUnknown* item, void** packet) const {
        const auto own = kzOwn<CItem>(item)->read();
        if (own->findChannel(KZsICHAN_LOCATOR_WORLDMATRIX) < 0) return KZe_INVALIDARG;
        return this->give({.kind = kind, .item = own->shared_from_this()}, packet);
    }
    KzResult givePlace(const Item& item, const KzVector3& local, KzVector3* position) const {
        *position = kzPlace(local, kzWorldMatrix(item));
        return KZe_OK;
    }
};

class CCenterPackets final
    : public CPlaceTranslation<CCenterPackets, "center", PacketKind::center, CKzIfc_CenterPacketTranslation> {
public:
    using CPlaceTranslation::CPlaceTranslation;
    KzResult centerpackettranslation_Packet(IKzUnknown* item, void** packet) override {
        return giveLocator(item, packet);
    }
    KzResult centerpackettranslation_Item(void* packet, IKzUnknown** item) override { return giveItem(packet, item); }
    KzResult centerpackettranslation_Position(void* packet, double /*time*/, KzVector3* position) override {
        const CReading reading(workspace());
        return givePlace(*need(packet)->item.lock(), {}, position);
    }
};

class CPivotPackets final
    : public CPlaceTranslation<CPivotPackets, "pivot", PacketKind::pivot, CKzIfc_PivotPacketTranslation> {
public:
    using CPlaceTranslation::CPlaceTranslation;
    KzResult pivotpackettranslation_Packet(IKzUnknown* item, void** packet) override {
        return giveLocator(item, packet);
    }
    KzResult pivotpackettranslation_Item(void* packet, IKzUnknown** item) override { return giveItem(packet, item); }
    KzResult pivotpackettranslation_Pivot(void* packet, IKzUnknown** transform) override {
        const CReading reading(workspace());
        return kzGiveItem(pivotOf(*need(packet)->item.lock()), transform);
    }
    // Without a pivot of its own, an item turns about its origin.
    KzResult pivotpackettranslation_Position(void* packet, double /*time*/, KzVector3* position) override {
        const CReading reading(workspace());
        const ItemRef item = need(packet)->item.lock();
        KzVector3 local{};
        if (const Item* pivot = pivotOf(*item))
            for (std::int32_t axis = 0; axis < 3; ++axis)
                if (const std::int32_t first = pivot->findChannel(KZsICHAN_XFRMPOSITION_POS_X); first >= 0)
                    local.v[axis] = kzNumberOf(pivot->valueOf(kzChannelAt(*pivot, first + axis))).value_or(0);
        return givePlace(*item, local, position);
    }

private:
    // A transform leads to the locator on which it acts.
    static Item* pivotOf(const Item& item) {
        const std::int32_t type = kzFindItemType(KZsITYPE_XFRMPIVOT)->number;
        for (const char* graph : {KZsGRAPH_XFRMCORE, KZsGRAPH_XFRMLOCAL})
            for (Item* transform : kzLinksOf(item, graph).reverse)
                if (transform->type.isA(type)) return transform;
        return nullptr;
    }
};

// An element of a mesh: packets name its item, and the numbers its parts.
template <class Class, KzHostName name, PacketKind kind, template <class> class Translation>
class CElementTranslation : public CTranslation<Class, name, kind, Translation> {
public:
    using CTranslation<Class, name, kind, Translation>::CTranslation;

protected:
    // The item may be left out when the mesh has one. NOTFOUND if the mesh has no such element.
    KzResult giveElement(IKzUnknown* item, IKzUnknown* mesh, const std::array<std::uintptr_t, 3>& numbers,
                         void** packet) const {
        CKzLoc_Unknown owner;
        if (item == nullptr) {
            const auto own = kzOwn<CMesh>(mesh);
            if (kzFailed(own->mesh_Item(owner.out()))) return KZe_INVALIDARG;
            item = owner.raw();
        }
        const auto own = kzOwn<CItem>(item);
        const auto data = own->mesh();
        const auto reading = own->read();
        if (mesh != nullptr && CHostRef<CMesh>::of(mesh).object() != data.object()) return KZe_INVALIDARG;
        const PacketSubject subject{.kind = kind, .item = reading->shared_from_this(), .numbers = numbers};
        const SelectionPacket wanted{kind, subject.item, {}, nullptr, numbers, {}};
        if (kzMarksOf(data->data, wanted) == nullptr) return KZe_NOTFOUND;
        return this->give(subject, packet);
    }
    KzResult giveMesh(void* packet, IKzUnknown** mesh, IKzUnknown** item) const {
        const CReading reading(this->workspace());
        const ItemRef owner = this->need(packet)->item.lock();
        if (const KzResult code = kzObjectOf(*owner)->mesh().give(mesh); kzFailed(code)) return code;
        return kzGiveItem(owner.get(), item);
    }
    std::uintptr_t number(void* packet, std::size_t index) const {
        const CReading reading(this->workspace());
        const PacketRef found = this->find(packet);
        return found != nullptr ? found->numbers[index] : 0;
    }
};

class CVertexPackets final
    : public CElementTranslation<CVertexPackets, "point", PacketKind::vertex, CKzIfc_VertexPacketTranslation> {
public:
    using CElementTranslation::CElementTranslation;
    KzResult vertexpackettranslation_Packet(KzElementId point, KzElementId polygon, IKzUnknown* item, IKzUnknown* mesh,
                                            void** packet) override {
        return giveElement(item, mesh, {numberOf(point), numberOf(polygon), 0}, packet);
    }
    KzResult vertexpackettranslation_Vertex(void* packet, KzElementId* point, KzElementId* polygon) override {
        const CReading reading(workspace());
        const PacketRef found = need(packet);
        *point = idOf(found->numbers[0]);
        *polygon = idOf(found->numbers[1]);
        return KZe_OK;
    }
    KzResult vertexpackettranslation_Mesh(void* packet, IKzUnknown** mesh, IKzUnknown** item) override {
        return giveMesh(packet, mesh, item);
    }
    KzResult vertexpackettranslation_Position(void* packet, KzVector3* position) override {
        const CReading reading(workspace());
        const PacketRef found = need(packet);
        *position = kzObjectOf(*found->item.lock())->mesh()->data.points.at(idOf(found->numbers[0])).position;
        return KZe_OK;
    }
};

class CEdgePackets final
    : public CElementTranslation<CEdgePackets, "edge", PacketKind::edge, CKzIfc_EdgePacketTranslation> {
public:
    using CElementTranslation::CElementTranslation;
    // An edge has one packet, which remembers the way round in which it was picked last.
    KzResult edgepackettranslation_Packet(KzElementId start, KzElementId end, KzElementId polygon, IKzUnknown* item,
                                          IKzUnknown* mesh, void** packet) override {
        const std::uintptr_t first = numberOf(start), second = numberOf(end);
        const CReading reading(workspace());
        const KzResult code =
            giveElement(item, mesh, {std::min(first, second), std::max(first, second), numberOf(polygon)}, packet);
        if (kzSucceeded(code)) workspace().selection().at(*packet)->isReversed = first > second;
        return code;
    }
    KzResult edgepackettranslation_Ends(void* packet, KzElementId* start, KzElementId* end) override {
        const CReading reading(workspace());
        const PacketRef found = need(packet);
        *start = idOf(found->numbers[found->isReversed ? 1 : 0]);
        *end = idOf(found->numbers[found->isReversed ? 0 : 1]);
        return KZe_OK;
    }
    KzResult edgepackettranslation_Mesh(void* packet, IKzUnknown** mesh, IKzUnknown** item) override {
        return giveMesh(packet, mesh, item);
    }
    KzElementId edgepackettranslation_Edge(void* packet) override {
        const CReading reading(workspace());
        const PacketRef found = find(packet);
        if (found == nullptr) return nullptr;
        return kzObjectOf(*found->item.lock())
            ->mesh()
            ->mesh_EdgeByEnds(idOf(found->numbers[0]), idOf(found->numbers[1]));
    }
    KzElementId edgepackettranslation_Polygon(void* packet) override { return idOf(number(packet, 2)); }
};

class CPolygonPackets final
    : public CElementTranslation<CPolygonPackets, "polygon", PacketKind::polygon, CKzIfc_PolygonPacketTranslation> {
public:
    using CElementTranslation::CElementTranslation;
    KzResult polygonpackettranslation_Packet(KzElementId polygon, IKzUnknown* item, IKzUnknown* mesh,
                                             void** packet) override {
        return giveElement(item, mesh, {numberOf(polygon), 0, 0}, packet);
    }
    KzElementId polygonpackettranslation_Polygon(void* packet) override { return idOf(number(packet, 0)); }
    KzResult polygonpackettranslation_Mesh(void* packet, IKzUnknown** mesh, IKzUnknown** item) override {
        return giveMesh(packet, mesh, item);
    }
};

class CMapPackets final
    : public CTranslation<CMapPackets, "vertexMap", PacketKind::vertexMap, CKzIfc_VMapPacketTranslation> {
public:
    using CTranslation::CTranslation;
    KzResult vmappackettranslation_Packet(std::int32_t type, const char* mapName, void** packet) override {
        if (kzFindMapType(type) == nullptr || kzTextOf(mapName).empty()) return KZe_INVALIDARG;
        const CReading reading(workspace());
        return give(
            {.kind = PacketKind::vertexMap, .numbers = {static_cast<std::uint32_t>(type), 0, 0}, .text = mapName},
            packet);
    }
    std::int32_t vmappackettranslation_Type(void* packet) override {
        const CReading reading(workspace());
        const PacketRef found = find(packet);
        return found != nullptr ? static_cast<std::int32_t>(found->numbers[0]) : 0;
    }
    KzResult vmappackettranslation_Name(void* packet, const char** mapName) override {
        const CReading reading(workspace());
        *mapName = kzLend(need(packet)->text);
        return KZe_OK;
    }
    KzResult vmappackettranslation_Map(void* packet, IKzUnknown* mesh, KzElementId* map) override {
        const auto own = kzOwn<CMesh>(mesh);
        const CReading reading(workspace());
        const PacketRef found = need(packet);
        const MeshMapData* data = own->data.findMap(static_cast<std::int32_t>(found->numbers[0]), found->text);
        *map = data != nullptr ? data->id : nullptr;
        return data != nullptr ? KZe_OK : KZe_NOTFOUND;
    }
};

// The files need not exist, and none is in a cache here.
class CPresetPackets final
    : public CTranslation<CPresetPackets, "preset", PacketKind::preset, CKzIfc_PresetPathPacketTranslation> {
public:
    using CTranslation::CTranslation;
    KzResult presetpathpackettranslation_Packet(const char* path, void** packet) override {
        if (kzTextOf(path).empty()) return KZe_INVALIDARG;
        const CReading reading(workspace());
        return give({.kind = PacketKind::preset, .text = path}, packet);
    }
    KzResult presetpathpackettranslation_Path(void* packet, const char** path) override {
        const CReading reading(workspace());
        *path = kzLend(need(packet)->text);
        return KZe_OK;
    }
    KzResult presetpathpackettranslation_Entry(void* packet, IKzUnknown** /*entry*/) override {
        const CReading reading(workspace());
        need(packet);
        return KZe_NOTFOUND;
    }
};

template <class Kind> IKzUnknown* make(std::shared_ptr<CWorkspace> workspace) {
    return kzMakeObject<Kind>(std::move(workspace));
}

}  // namespace

const std::vector<PacketKindRow>& kzPacketKinds() {
    static const std::vector<PacketKindRow> rows = {
        {KZsSELTYP_ITEM, &KZu_SELPACKET_ITEM, make<CItemPackets>},
        {KZsSELTYP_SCENE, nullptr, make<CScenePackets>},
        {KZsSELTYP_CHANNEL, &KZu_SELPACKET_CHANNEL, make<CChannelPackets>},
        {KZsSELTYP_LINK, &KZu_SELPACKET_LINK, make<CLinkPackets>},
        {KZsSELTYP_POINT, nullptr, make<CVertexPackets>},
        {KZsSELTYP_EDGE, nullptr, make<CEdgePackets>},
        {KZsSELTYP_POLYGON, nullptr, make<CPolygonPackets>},
        {KZsSELTYP_CENTER, nullptr, make<CCenterPackets>},
        {KZsSELTYP_PIVOT, nullptr, make<CPivotPackets>},
        {KZsSELTYP_VERTEXMAP, nullptr, make<CMapPackets>},
        {KZsSELTYP_PRESET, nullptr, make<CPresetPackets>},
    };
    return rows;
}

const PacketKindRow* kzFindPacketKind(std::string_view name) {
    const auto& rows = kzPacketKinds();
    const auto match = std::find_if(rows.begin(), rows.end(), [&](const auto& row) { return name == row.name; });
    return match != rows.end() ? &*match : nullptr;
}

}  // namespace kzhost
