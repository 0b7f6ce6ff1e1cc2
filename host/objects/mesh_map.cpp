// Maps of a mesh: their values at points and corners.
#include "host/objects/mesh_map.h"

#include "host/core/reasons.h"
#include "host/state/text.h"

#include <algorithm>
#include <string>
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
    MeshMapData& target = mapAt(data, map, place);
    if (place.second != nullptr && (target.flags & KZfMESHMAP_CORNER) == 0) return KZe_NOTSUPPORTED;
    target.values[place].assign(&kzNotNull(values), &kzNotNull(values) + target.dimension);
    data.changed(KZfMESHEDIT_MAPVALUES);
    return KZe_OK;
}

KzResult kzClearMapValue(CMeshData& data, KzElementId map, MeshMapData::Place place) {
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
    const std::string newName(kzTextOf(name));
    if (newName.empty()) return KZe_INVALIDARG;
    if (const MeshMapData* other = data().findMap(here().type, newName); other != nullptr && other != &here())
        return KZe_ALREADYEXISTS;
    here().name = newName;
    data().changed(KZfMESHEDIT_MAPS);
    return KZe_OK;
}

KzResult CMeshMap::meshmap_SetFlags(std::uint32_t mask, std::uint32_t flags) {
    here().flags = (here().flags & ~mask) | (flags & mask);
    return KZe_OK;
}

KzResult CMeshMap::meshmap_Add(std::int32_t type, const char* name, KzElementId* map) {
    const MeshMapType* row = kzFindMapType(type);
    if (row == nullptr || row->dimension == 0 || kzTextOf(name).empty()) return KZe_INVALIDARG;
    *map = data().addMap(type, name, row->dimension, row->flags).id;
    return moveTo(*map);
}

KzResult CMeshMap::meshmap_AddCustom(const char* name, std::int32_t dimension, std::uint32_t flags, KzElementId* map) {
    if (kzTextOf(name).empty() || dimension < 1 || dimension > mostDimensions) return KZe_INVALIDARG;
    *map = data().addMap(KZi_MAPTYPE_CUSTOM, name, static_cast<std::uint32_t>(dimension), flags).id;
    return moveTo(*map);
}

KzResult CMeshMap::meshmap_Remove() {
    data().maps.removeIf([id = here().id](const MeshMapData& map) { return map.id == id; });
    data().changed(KZfMESHEDIT_MAPS);
    return KZe_OK;
}

KzResult CMeshMap::meshmap_Clear() {
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
    const auto& values = here().values;
    return std::none_of(values.begin(), values.end(),
                        [&](const auto& entry) { return entry.first.first == point && entry.first.second != nullptr; });
}

KzResult CMeshMap::meshmap_Value(KzElementId point, KzElementId polygon, float* values) {
    return kzReadMapValue(data(), here().id, {point, polygon}, values);
}

KzResult CMeshMap::meshmap_SetValue(KzElementId point, KzElementId polygon, float* values) {
    return kzWriteMapValue(data(), here().id, {point, polygon}, values);
}

KzResult CMeshMap::meshmap_SetAll(float* values, std::int32_t mark) {
    MeshMapData& map = here();
    const std::vector<float> value(&kzNotNull(values), &kzNotNull(values) + map.dimension);
    for (const MeshPoint& point : data().points)
        if (kzMatchesMarks(point.marks, mark)) map.values[{point.id, nullptr}] = value;
    data().changed(KZfMESHEDIT_MAPVALUES);
    return KZe_OK;
}

KzResult CMeshMap::meshmap_Scale(float factor, std::int32_t mark) {
    for (auto& [place, values] : here().values)
        if (kzMatchesMarks(data().points.at(place.first).marks, mark))
            for (float& value : values) value *= factor;
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
