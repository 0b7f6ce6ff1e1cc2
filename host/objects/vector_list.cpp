// Stacks of one type in a row: for each place, the packets of all elements one after another.
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/vector_layout.h"
#include "host/state/text.h"

#include "kz/packet.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

constexpr std::uint64_t mostBytesOfList = std::uint64_t{1} << 28U;
constexpr std::uint32_t mostElements = 10'000'000;
constexpr std::uint32_t mostEffectFields = 256;  // of an effect

// The servers of packets and effects are called in the middle of what is done here. Until that has ended they cannot change
// the list, whose memory they have.
class CVectorList final : public CHosted<"vector list", CVectorList, CKzIfc_VectorList> {
public:
    CVectorList(IKzUnknown* type, VectorLayout layout) : m_layout(std::move(layout)) {
        m_type.set(type);
        m_rows.resize(m_layout.places.size());
    }

    std::uint32_t vectorlist_Count() override { return m_count; }
    KzResult vectorlist_SetCount(std::uint32_t count) override;
    KzResult vectorlist_Type(IKzUnknown** type) override { return m_type.get(type); }
    KzResult vectorlist_Packet(std::uint32_t element, std::uint32_t index, void** packet) override {
        *packet = row("VectorList.Packet", index)->at(inside("VectorList.Packet", element));
        return KZe_OK;
    }
    std::uint32_t vectorlist_PacketSize(std::uint32_t index) override { return m_layout.sizeAt(index); }
    KzResult vectorlist_Array(std::uint32_t index, void** packets) override {
        plain("VectorList.Array", index);
        *packets = m_count > 0 ? row("VectorList.Array", index)->at(0) : nullptr;
        return KZe_OK;
    }
    KzResult vectorlist_Remove(std::uint32_t element) override;
    KzResult vectorlist_Evaluate(IKzUnknown* object, std::uint32_t first, std::uint32_t count) override;

private:
    using Row = std::shared_ptr<CPacketMemory>;
    using Rows = std::vector<Row>;

    // While it lives, the list cannot be changed.
    class CTurn {
    public:
        CTurn(const char* place, bool& isBusy) : m_isBusy(isBusy) {
            if (m_isBusy)
                throw kzBecause(KZe_NOTREADY, place,
                                [] { return "the list is in use by what a packet or an effect does"; });
            m_isBusy = true;
        }
        CTurn(const CTurn&) = delete;
        CTurn& operator=(const CTurn&) = delete;
        ~CTurn() { m_isBusy = false; }

    private:
        bool& m_isBusy;
    };

    // The packets of `count` elements: those of the list, without one, and new ones.
    Rows rebuilt(std::uint32_t count, std::uint32_t without) const;
    const VectorKindRef& plain(const char* place, std::uint32_t index) const {
        const VectorKindRef& kind = m_layout.at(place, index);
        if (!kind->isObject()) return kind;
        throw kzBecause(KZe_NOTSUPPORTED, place, [&] { return "the packets \"" + kind->name + "\" are objects"; });
    }
    const Row& row(const char* place, std::uint32_t index) const {
        plain(place, index);
        inside(place, 0);
        return m_rows[index];
    }
    std::uint32_t inside(const char* place, std::uint32_t element) const {
        if (element < m_count) return element;
        throw kzBecause(KZe_OUTOFBOUNDS, place,
                        [&] { return fmt::format("there is no element {}; the list has {}", element, m_count); });
    }

    CKzLoc_Unknown m_type;
    const VectorLayout m_layout;
    Rows m_rows;
    std::uint32_t m_count = 0;
    bool m_isBusy = false;
};

CVectorList::Rows CVectorList::rebuilt(std::uint32_t count, std::uint32_t without) const {
    Rows rows(m_layout.places.size());
    for (std::size_t at = 0; at < rows.size(); ++at) {
        const VectorKindRef& kind = m_layout.places[at].kind;
        if (kind->isObject() || count == 0) continue;
        rows[at] = std::make_shared<CPacketMemory>(kind, count);
        for (std::uint32_t element = 0, to = 0; element < m_count && to < count; ++element) {
            if (element == without) continue;
            const auto* bytes = static_cast<const std::uint8_t*>(m_rows[at]->at(element));
            rows[at]->take(to++, {bytes, bytes + kind->size});
        }
    }
    return rows;
}

KzResult CVectorList::vectorlist_SetCount(std::uint32_t count) {
    constexpr const char* place = "VectorList.SetCount";
    std::uint64_t size = 0;
    for (const VectorPlace& each : m_layout.places) size += each.kind->size;
    if (count > mostElements || size * count > mostBytesOfList)
        return kzBecause(KZe_OUTOFMEMORY, place, [&] {
            return fmt::format("{} elements of {} bytes are too many; a list has up to {} elements and {} bytes", count,
                               size, mostElements, mostBytesOfList);
        });
    const CTurn turn(place, m_isBusy);
    Rows rows = rebuilt(count, UINT32_MAX);
    m_count = count;
    m_rows.swap(rows);
    return KZe_OK;
}

KzResult CVectorList::vectorlist_Remove(std::uint32_t element) {
    inside("VectorList.Remove", element);
    const CTurn turn("VectorList.Remove", m_isBusy);
    Rows rows = rebuilt(m_count - 1, element);
    --m_count;
    m_rows.swap(rows);
    return KZe_OK;
}

// The effect reads each field of a packet and writes it back, which brings the packet into the form that the effect has
// for it. It gets a copy of the bytes, so that it cannot keep those of the list.
KzResult CVectorList::vectorlist_Evaluate(IKzUnknown* object, std::uint32_t first, std::uint32_t count) {
    constexpr const char* place = "VectorList.Evaluate";
    const CKzUser_PacketEffect effect(object);
    if (!effect)
        return kzBecause(KZe_INVALIDARG, place,
                         [] { return "the effect is no object with the interface PacketEffect"; });
    if (std::uint64_t{first} + count > m_count) inside(place, m_count);
    const std::string name = kzAnswer([&](const char** text) { return effect.Packet(text); });
    const std::uint32_t index = m_layout.need(place, name);
    const VectorKindRef& kind = plain(place, index);
    const std::uint32_t fields = effect.Count();
    if (fields > mostEffectFields)
        return kzBecause(KZe_FAILED, place, [&] {
            return fmt::format("the effect says that it has {} fields; {} is the most", fields, mostEffectFields);
        });
    const CTurn turn(place, m_isBusy);
    for (std::uint32_t field = 0; field < fields; ++field) {
        const char *fieldName = nullptr, *typeName = nullptr;
        std::int32_t type = 0;
        kzDemand(effect.ByIndex(field, &fieldName, &typeName, &type));
        const std::uint32_t values = type == KZiEFFECT_COLOR || type == KZiEFFECT_VECTOR ? 3 : 1;
        for (std::uint32_t element = first; element < first + count; ++element) {
            std::array<float, 3> components{};
            std::vector<std::uint8_t> bytes(kind->size);
            std::memcpy(bytes.data(), m_rows[index]->at(element), kind->size);
            const auto number = static_cast<std::int32_t>(field);
            kzDemand(effect.Get(number, kind->size, bytes.data(), values, components.data()));
            kzDemand(effect.Set(number, kind->size, bytes.data(), values, components.data()));
            std::memcpy(m_rows[index]->at(element), bytes.data(), kind->size);
        }
    }
    return KZe_OK;
}

}  // namespace

KzResult kzGiveVectorList(IKzUnknown* type, VectorLayout layout, IKzUnknown** list) {
    return CHostRef<CVectorList>::make(type, std::move(layout)).give(list);
}

}  // namespace kzhost
