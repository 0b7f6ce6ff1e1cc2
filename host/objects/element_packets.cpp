// Packets of the elements of meshes, and of vertex maps.
#include "host/objects/mesh_marks.h"
#include "host/objects/packet_translation.h"

#include "kz/element_translation.h"
#include "kz/selection.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kzhost {

namespace {

std::uintptr_t numberOf(const void* pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }
KzElementId idOf(std::uintptr_t number) { return reinterpret_cast<KzElementId>(number); }

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

}  // namespace

std::vector<PacketKindRow> kzElementPackets() {
    return {
        {KZsSELTYP_POINT, nullptr, kzMakePackets<CVertexPackets>},
        {KZsSELTYP_EDGE, nullptr, kzMakePackets<CEdgePackets>},
        {KZsSELTYP_POLYGON, nullptr, kzMakePackets<CPolygonPackets>},
        {KZsSELTYP_VERTEXMAP, nullptr, kzMakePackets<CMapPackets>},
    };
}

}  // namespace kzhost
