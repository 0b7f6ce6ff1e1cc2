// What types, stacks and lists of packets have in common: places, each for packets of one kind.
#pragma once

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/objects/vector_kinds.h"

#include <fmt/format.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace kzhost {

struct VectorPlace {
    VectorKindRef kind;
    std::uint32_t flags = 0;  // f_VTYPE
};

struct VectorLayout {
    std::vector<VectorPlace> places;

    std::optional<std::uint32_t> find(std::string_view name) const {
        for (std::uint32_t at = 0; at < places.size(); ++at)
            if (places[at].kind->name == name) return at;
        return {};
    }
    // The first place of objects with that interface.
    std::optional<std::uint32_t> find(const KzGuid& identity) const {
        for (std::uint32_t at = 0; at < places.size(); ++at)
            if (places[at].kind->identity && *places[at].kind->identity == identity) return at;
        return {};
    }
    // These throw, with the reason in the log.
    const VectorKindRef& at(const char* place, std::uint32_t index) const {
        if (index < places.size()) return places[index].kind;
        throw kzBecause(KZe_OUTOFBOUNDS, place,
                        [&] { return fmt::format("there is no place {}; the type has {}", index, places.size()); });
    }
    std::uint32_t need(const char* place, std::string_view name) const {
        if (const auto index = find(name)) return *index;
        throw kzBecause(KZe_NOTFOUND, place, [&] {
            return kzThereIsNo("packet", name, places, [](const VectorPlace& each) { return each.kind->name; });
        });
    }
    std::uint32_t sizeAt(std::uint32_t index) const { return index < places.size() ? places[index].kind->size : 0; }
};

// Of a type as it is now: what is done to the type later does not change them.
KzResult kzGiveVectorStack(IKzUnknown* type, VectorLayout layout, IKzUnknown** stack);
KzResult kzGiveVectorList(IKzUnknown* type, VectorLayout layout, IKzUnknown** list);

}  // namespace kzhost
