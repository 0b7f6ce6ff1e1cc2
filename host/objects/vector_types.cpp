// Selections of packet kinds.
#include "host/objects/vector_types.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/objects/arguments.h"
#include "host/objects/vector_layout.h"
#include "host/state/text.h"

#include "kz/packet.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace kzhost {

namespace {

constexpr std::uint32_t flagsOfPlaces =
    KZf_VTYPE_READ | KZf_VTYPE_WRITE | KZf_VTYPE_OPTIONAL | KZf_VTYPE_PRIVATE | KZf_VTYPE_INHERIT;

class CVectorType final : public CHosted<"vector type", CVectorType, CKzIfc_VectorType>, public CHostSelf<CVectorType> {
public:
    CVectorType(std::shared_ptr<CVectorKinds> kinds, const char* category) : m_kinds(std::move(kinds)) {
        if (category != nullptr) m_category = category;
    }

    KzResult vectortype_Add(const char* name, std::uint32_t flags, std::uint32_t* index) override {
        constexpr const char* place = "VectorType.Add";
        checkFlags(place, flags);
        *index = add({m_kinds->need(place, m_category ? m_category->c_str() : nullptr, kzString(name)), flags});
        return KZe_OK;
    }
    KzResult vectortype_AddInterface(const KzGuid* ifc, const char* name, std::uint32_t flags,
                                     std::uint32_t* index) override;
    KzResult vectortype_Remove(const char* name) override {
        const std::uint32_t index = layout().need("VectorType.Remove", kzTextOf(name));
        VectorPlace removed;  // its server is released without the lock
        const std::lock_guard lock(m_lock);
        if (index >= m_layout.places.size()) return KZe_NOTFOUND;
        removed = m_layout.places[index];
        m_layout.places.erase(m_layout.places.begin() + index);
        return KZe_OK;
    }
    KzResult vectortype_Merge(IKzUnknown* other) override {
        for (const VectorPlace& each : layoutOf("VectorType.Merge", other).places)
            if (!layout().find(each.kind->name)) add(each);
        return KZe_OK;
    }
    bool vectortype_Contains(IKzUnknown* other) override {
        const auto own = CHostRef<CVectorType>::of(other);
        if (!own) return false;
        const VectorLayout all = layout();
        return std::ranges::all_of(own->layout().places,
                                   [&](const VectorPlace& each) { return all.find(each.kind->name).has_value(); });
    }
    std::uint32_t vectortype_Count() override { return static_cast<std::uint32_t>(layout().places.size()); }
    KzResult vectortype_Lookup(const char* name, std::uint32_t* index) override {
        *index = layout().need("VectorType.Lookup", kzTextOf(name));
        return KZe_OK;
    }
    KzResult vectortype_LookupInterface(const KzGuid* ifc, std::uint32_t* index) override {
        const auto found = layout().find(kzNotNull(ifc));
        if (!found) return KZe_NOTFOUND;
        *index = *found;
        return KZe_OK;
    }
    KzResult vectortype_NameByIndex(std::uint32_t index, const char** name) override {
        *name = kzLend(layout().at("VectorType.NameByIndex", index)->name);
        return KZe_OK;
    }
    std::uint32_t vectortype_FlagsByIndex(std::uint32_t index) override {
        const std::lock_guard lock(m_lock);
        return index < m_layout.places.size() ? m_layout.places[index].flags : 0;
    }
    KzResult vectortype_SetFlags(std::uint32_t index, std::uint32_t flags) override {
        checkFlags("VectorType.SetFlags", flags);
        static_cast<void>(layout().at("VectorType.SetFlags", index));
        const std::lock_guard lock(m_lock);
        if (index < m_layout.places.size()) m_layout.places[index].flags = flags;
        return KZe_OK;
    }
    std::uint32_t vectortype_Size() override {
        std::uint32_t size = 0;
        for (const VectorPlace& each : layout().places) size += each.kind->size;
        return size;
    }
    KzResult vectortype_Create(IKzUnknown** stack) override { return kzGiveVectorStack(rawSelf(), layout(), stack); }
    KzResult vectortype_CreateList(IKzUnknown* elements, IKzUnknown** list) override {
        return kzGiveVectorList(elements, layoutOf("VectorType.CreateList", elements), list);
    }

    VectorLayout layout() const {
        const std::lock_guard lock(m_lock);
        return m_layout;
    }

private:
    static constexpr std::size_t mostPlaces = 4096;

    static VectorLayout layoutOf(const char* place, IKzUnknown* other) {
        const auto own = CHostRef<CVectorType>::of(other);
        if (!own)
            throw kzBecause(KZe_INVALIDARG, place, [] { return "the other type is none that the host has made"; });
        return own->layout();
    }
    static void checkFlags(const char* place, std::uint32_t flags) {
        if ((flags & ~flagsOfPlaces) != 0)
            throw kzBecause(KZe_INVALIDARG, place,
                            [&] { return fmt::format("{:#x} has flags that places do not have", flags); });
    }
    // A kind that is there already keeps its place.
    std::uint32_t add(const VectorPlace& added) {
        {
            const std::lock_guard lock(m_lock);
            if (const auto index = m_layout.find(added.kind->name)) {
                m_layout.places[*index].flags |= added.flags;
                return *index;
            }
            if (m_layout.places.size() < mostPlaces) {
                m_layout.places.push_back(added);
                return static_cast<std::uint32_t>(m_layout.places.size() - 1);
            }
        }
        throw kzBecause(KZe_OUTOFBOUNDS, "VectorType.Add",
                        [] { return fmt::format("a type has at most {} places", mostPlaces); });
    }

    std::shared_ptr<CVectorKinds> m_kinds;
    std::optional<std::string> m_category;
    mutable std::mutex m_lock;
    VectorLayout m_layout;
};

KzResult CVectorType::vectortype_AddInterface(const KzGuid* ifc, const char* name, std::uint32_t flags,
                                              std::uint32_t* index) {
    constexpr const char* place = "VectorType.AddInterface";
    const KzGuid identity = kzNotNull(ifc);
    checkFlags(place, flags);
    if (kzTextOf(name).empty()) return kzBecause(KZe_INVALIDARG, place, [] { return "the packet needs a name"; });
    VectorKindRef kind = m_kinds->find(place, m_category ? m_category->c_str() : nullptr, kzString(name));
    if (const auto present = layout().find(kzTextOf(name))) kind = layout().at(place, *present);
    if (kind && kind->identity != identity)
        return kzBecause(KZe_INVALIDARG, place, [&] {
            return fmt::format("the packets \"{}\" are no objects of the interface {}", kind->name,
                               kzGuidText(identity));
        });
    if (!kind) {
        auto named = std::make_shared<VectorKind>();
        named->name = kzString(name);
        named->identity = identity;
        kind = std::move(named);
    }
    *index = add({std::move(kind), flags});
    return KZe_OK;
}

}  // namespace

IKzUnknown* kzMakeVectorType(std::shared_ptr<CVectorKinds> kinds, const char* category) {
    return kzMakeObject<CVectorType>(std::move(kinds), category);
}

}  // namespace kzhost
