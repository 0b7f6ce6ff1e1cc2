// Maps of a mesh: their values at points and corners.
#include "host/objects/mesh_map.h"

#include "host/core/reasons.h"
#include "host/state/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

constexpr std::int32_t mostDimensions = 64;

MeshMapData& mapAt(CMeshData& data, KzElementId map, const MeshMapData::Place& place) {
    MeshMapData& mapData = data.maps.at(map);
    if (!data.points.has(place.first)) throw KZe_NOTFOUND;
    if (place.second == nullptr) return mapData;
    const auto& corners = data.polygons.at(place.second).points;
    if (std::find(corners.begin(), corners.end(), place.first) == corners.end()) throw KZe_NOTFOUND;
    return mapData;
}

}  // namespace

KzResult kzReadMapValue(CMeshData& data, KzElementId map, MeshMapData::Place place, float* values) {
    const auto* source = mapAt(data, map, place).find(place.first, place.second);
    if (source == nullptr) return KZe_NOTFOUND;
    std::copy(source->begin(), source->end(), &kzNotNull(values));
    return KZe_OK;
}

KzResult kzWriteMapValue(CMeshData& data, KzElementId map, MeshMapData::Place place, const float* values) {
    const CMeshEdit edit(data);
    MeshMapData& target = mapAt(data, map, place);
    if (place.second != nullptr && (target.flags & KZfMESHMAP_CORNER) == 0) return KZe_NOTSUPPORTED;
    target.values[place].assign(&kzNotNull(values), &kzNotNull(values) + target.dimension);
    data.changed(KZfMESHEDIT_MAPVALUES);
    return KZe_OK;
}

KzResult kzClearMapValue(CMeshData& data, KzElementId map, MeshMapData::Place place) {
    const CMeshEdit edit(data);
    if (mapAt(data, map, place).values.erase(place) == 0) return KZe_NOTFOUND;
    data.changed(KZfMESHEDIT_MAPVALUES);
    return KZe_OK;
}

KzResult CMeshMap::meshmap_MoveToName(std::int32_t type, const char* name) {
    const MeshMapData* map = data().findMap(type, kzTextOf(name));
    if (map != nullptr) return moveTo(map->id);
    return kzBecause(KZe_NOTFOUND, "MeshMap.MoveToName", [&] {
        return kzThereIsNo("map", kzTextOf(name), data().maps, [](const MeshMapData& each) { return each.name; });
    });
}

KzResult CMeshMap::meshmap_Enumerate(std::int32_t type, IKzUnknown* visitor) {
    return visit(visitor, [type](const MeshMapData& map) { return type == 0 || map.type == type; });
}

KzResult CMeshMap::meshmap_Name(const char** name) {
    *name = here().name.c_str();
    return KZe_OK;
}

KzResult CMeshMap::meshmap_SetName(const char* name) {
    const CMeshEdit edit(data());
    const std::string newName(kzTextOf(name));
    if (newName.empty()) return KZe_INVALIDARG;
    if (const MeshMapData* other = data().findMap(here().type, newName); other != nullptr && other != &here())
        return KZe_ALREADYEXISTS;
    here().name = newName;
    data().changed(KZfMESHEDIT_MAPS);
    return KZe_OK;
}

KzResult CMeshMap::meshmap_SetFlags(std::uint32_t mask, std::uint32_t flags) {
    const CMeshEdit edit(data());
    here().flags = (here().flags & ~mask) | (flags & mask);
    return KZe_OK;
}

KzResult CMeshMap::meshmap_Add(std::int32_t type, const char* name, KzElementId* map) {
    const CMeshEdit edit(data());
    const MeshMapType* row = kzFindMapType(type);
    if (row == nullptr || row->dimension == 0 || kzTextOf(name).empty()) return KZe_INVALIDARG;
    *map = data().addMap(type, name, row->dimension, row->flags).id;
    return moveTo(*map);
}

KzResult CMeshMap::meshmap_AddCustom(const char* name, std::int32_t dimension, std::uint32_t flags, KzElementId* map) {
    const CMeshEdit edit(data());
    if (kzTextOf(name).empty() || dimension < 1 || dimension > mostDimensions) return KZe_INVALIDARG;
    *map = data().addMap(KZi_MAPTYPE_CUSTOM, name, static_cast<std::uint32_t>(dimension), flags).id;
    return moveTo(*map);
}

KzResult CMeshMap::meshmap_Remove() {
    const CMeshEdit edit(data());
    data().maps.removeIf([id = here().id](const MeshMapData& map) { return map.id == id; });
    data().changed(KZfMESHEDIT_MAPS);
    return KZe_OK;
}

KzResult CMeshMap::meshmap_Clear() {
    const CMeshEdit edit(data());
    here().values.clear();
    data().changed(KZfMESHEDIT_MAPVALUES);
    return KZe_OK;
}

std::uint32_t CMeshMap::meshmap_ValueCount() {
    if (!isAt()) return 0;
    const auto& values = here().values;
    return static_cast<std::uint32_t>(
        std::count_if(values.begin(), values.end(), [](const auto& entry) { return entry.first.second == nullptr; }));
}

bool CMeshMap::meshmap_HasValue(KzElementId point) { return isAt() && here().find(point, nullptr) != nullptr; }

bool CMeshMap::meshmap_IsContinuous(KzElementId point) {
    // Values are in the order of points, and that of a point itself comes before those of its corners.
    const auto& values = here().values;
    const auto next = values.upper_bound({point, nullptr});
    return next == values.end() || next->first.first != point;
}

KzResult CMeshMap::meshmap_Value(KzElementId point, KzElementId polygon, float* values) {
    return kzReadMapValue(data(), here().id, {point, polygon}, values);
}

KzResult CMeshMap::meshmap_SetValue(KzElementId point, KzElementId polygon, float* values) {
    return kzWriteMapValue(data(), here().id, {point, polygon}, values);
}

KzResult CMeshMap::meshmap_SetAll(float* values, std::int32_t mark) {
    const CMeshEdit edit(data());
    MeshMapData& map = here();
    const std::vector<float> value(&kzNotNull(values), &kzNotNull(values) + map.dimension);
    for (const MeshPoint& point : data().points)
        if (kzMatchesMarks(point.marks, mark)) map.values[{point.id, nullptr}] = value;
    data().changed(KZfMESHEDIT_MAPVALUES);
    return KZe_OK;
}

KzResult CMeshMap::meshmap_Scale(float factor, std::int32_t mark) {
    const CMeshEdit edit(data());
    for (auto& [place, values] : here().values)
        if (kzMatchesMarks(data().points.at(place.first).marks, mark))
            for (float& value : values) value *= factor;
    data().changed(KZfMESHEDIT_MAPVALUES);
    return KZe_OK;
}

KzResult CMeshMap::meshmap_Copy(KzElementId source) {
    const CMeshEdit edit(data());
    const MeshMapData& from = data().maps.at(source);
    if (from.dimension != here().dimension) return KZe_INVALIDARG;
    if (source != id()) here().values = from.values;
    data().changed(KZfMESHEDIT_MAPVALUES);
    return KZe_OK;
}

// Elements without a value count as zeros, whatever a caller has written to the memory before.
KzResult CMeshMap::meshmap_Default(float** values) {
    here();
    thread_local std::array<float, mostDimensions> theZeros;
    theZeros.fill(0);
    *values = theZeros.data();
    return KZe_OK;
}

// The values of each point go to the point on the other side. Of vectors, the component along the axis changes its sign.
KzResult CMeshMap::meshmap_Mirror(std::int32_t axis, KzElementId target) {
    const CMeshEdit edit(data());
    const MeshMapData& from = here();
    MeshMapData& to = target != nullptr ? data().maps.at(target) : here();
    if (axis < KZiMESHAXIS_X || axis > KZiMESHAXIS_Z || to.dimension != from.dimension) return KZe_INVALIDARG;
    constexpr std::int32_t vectors[] = {KZi_MAPTYPE_MORPH, KZi_MAPTYPE_SPOT, KZi_MAPTYPE_NORMAL, KZi_MAPTYPE_TANGENT,
                                        KZi_MAPTYPE_VELOCITY};
    const bool isVector = std::find(std::begin(vectors), std::end(vectors), from.type) != std::end(vectors);
    const auto placeOf = [](KzVector3 position) {  // in micrometres
        std::array<std::int64_t, 3> place{};
        for (int at = 0; at < 3; ++at)
            place[static_cast<std::size_t>(at)] = std::llround(std::clamp(position.v[at] * 1e6, -9e18, 9e18));
        return place;
    };
    std::map<std::array<std::int64_t, 3>, KzElementId> places;
    for (const MeshPoint& point : data().points) places.emplace(placeOf(point.position), point.id);
    std::map<MeshMapData::Place, std::vector<float>> mirrored;
    for (const auto& [place, values] : from.values) {
        if (place.second != nullptr) continue;
        KzVector3 opposite = data().points.at(place.first).position;
        opposite.v[axis] = -opposite.v[axis];
        const auto other = places.find(placeOf(opposite));
        if (other == places.end()) continue;
        std::vector<float> value = values;
        for (auto at = static_cast<std::size_t>(axis); isVector && at < value.size(); at += 3) value[at] = -value[at];
        mirrored[{other->second, nullptr}] = std::move(value);
    }
    to.values = std::move(mirrored);
    data().changed(KZfMESHEDIT_MAPVALUES);
    return KZe_OK;
}

KzResult CMeshMap::meshmap_MergeCorners(float tolerance) {
    const CMeshEdit edit(data());
    MeshMapData& map = here();
    for (const MeshPoint& point : data().points) {
        std::vector<MeshMapData::Place> places;
        for (const MeshCorner& corner : data().cornersAt(point.id))
            if (map.values.contains({point.id, corner.polygon})) places.emplace_back(point.id, corner.polygon);
        if (places.empty()) continue;
        const std::vector<float> first = map.values.at(places.front());
        const bool isEverywhere = places.size() == data().cornersAt(point.id).size();
        const auto isNear = [&](const std::vector<float>& value) {
            return std::equal(value.begin(), value.end(), first.begin(),
                              [&](float left, float right) { return std::abs(left - right) <= tolerance; });
        };
        const auto own = map.values.find({point.id, nullptr});
        const bool fits = std::all_of(places.begin(), places.end(),
                                      [&](const auto& place) { return isNear(map.values.at(place)); }) &&
                          (isEverywhere || (own != map.values.end() && isNear(own->second)));
        if (!fits) continue;
        for (const auto& place : places) map.values.erase(place);
        map.values[{point.id, nullptr}] = first;
    }
    data().changed(KZfMESHEDIT_MAPVALUES);
    return KZe_OK;
}

KzResult CMeshMap::meshmap_SplitCorners(std::int32_t mark) {
    const CMeshEdit edit(data());
    MeshMapData& map = here();
    if ((map.flags & KZfMESHMAP_CORNER) == 0) return KZe_NOTSUPPORTED;
    for (const MeshPoint& point : data().points) {
        const auto own = map.values.find({point.id, nullptr});
        if (own == map.values.end() || !kzMatchesMarks(point.marks, mark)) continue;
        for (const MeshCorner& corner : data().cornersAt(point.id))
            map.values.try_emplace({point.id, corner.polygon}, own->second);
    }
    data().changed(KZfMESHEDIT_MAPVALUES);
    return KZe_OK;
}

KzResult CMeshMap::meshmap_Range(std::int32_t component, float* minimum, float* maximum) {
    const MeshMapData& map = here();
    if (component < 0 || static_cast<std::uint32_t>(component) >= map.dimension) return KZe_OUTOFBOUNDS;
    if (map.values.empty()) return KZe_NOTFOUND;
    *minimum = *maximum = map.values.begin()->second[static_cast<std::size_t>(component)];
    for (const auto& [place, values] : map.values) {
        *minimum = std::min(*minimum, values[static_cast<std::size_t>(component)]);
        *maximum = std::max(*maximum, values[static_cast<std::size_t>(component)]);
    }
    return KZe_OK;
}

}  // namespace kzhost
