// Packets of the centers and pivots of items.
#include "host/document/graphs.h"
#include "host/objects/packet_translation.h"
#include "host/objects/scene.h"

#include "kz/packet_translation.h"
#include "kz/scene_graph.h"
#include "kz/selection.h"
#include "kz/transform.h"

namespace kzhost {

namespace {

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
    CHostRef<CItem> itemOf(void* packet) const {
        const CReading reading(this->workspace());
        return kzObjectOf(*this->need(packet)->item.lock());
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
    KzResult centerpackettranslation_Position(void* packet, double time, KzVector3* position) override {
        *position = kzPlace({}, kzWorldMatrix(*itemOf(packet), time));
        return KZe_OK;
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
    KzResult pivotpackettranslation_Position(void* packet, double time, KzVector3* position) override {
        const auto item = itemOf(packet);
        CHostRef<CItem> pivot;
        {
            const auto own = item->read();
            if (Item* found = pivotOf(*own)) pivot = kzObjectOf(*found);
        }
        KzVector3 local{};
        if (pivot) {
            constexpr const char* axes[] = {KZsICHAN_XFRMPOSITION_POS_X, KZsICHAN_XFRMPOSITION_POS_Y,
                                            KZsICHAN_XFRMPOSITION_POS_Z};
            const auto values = kzEvaluated(*pivot, axes, time);
            for (std::size_t axis = 0; axis < 3; ++axis) local.v[axis] = kzNumberOf(values[axis]).value_or(0);
        }
        *position = kzPlace(local, kzWorldMatrix(*item, time));
        return KZe_OK;
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

}  // namespace

std::vector<PacketKindRow> kzPlacePackets() {
    return {
        {KZsSELTYP_CENTER, nullptr, kzMakePackets<CCenterPackets>},
        {KZsSELTYP_PIVOT, nullptr, kzMakePackets<CPivotPackets>},
    };
}

}  // namespace kzhost
