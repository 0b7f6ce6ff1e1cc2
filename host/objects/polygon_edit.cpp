// Changes many polygons of a mesh in one step.
#include "host/objects/mesh_tools.h"

#include "host/core/reasons.h"
#include "host/objects/mesh_pieces.h"
#include "host/objects/polygon_shells.h"

#include "kz/mesh_edit.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

constexpr std::int32_t mostSegments = 10000, mostLevels = 8;

KzResult refuse(KzResult code, const std::string& why) {
    return kzBecause(code, "PolygonEdit", [&] { return why; });
}

void demandSegments(std::int32_t segments) {
    if (segments < 1 || segments > mostSegments)
        throw refuse(KZe_INVALIDARG, fmt::format("{} segments; there are 1 to {}", segments, mostSegments));
}

void demandFinite(std::initializer_list<double> numbers) {
    for (const double each : numbers)
        if (!std::isfinite(each)) throw refuse(KZe_INVALIDARG, "a number is not finite");
}

// The outline around two polygons without the edges that they share; empty if they share none.
std::vector<KzElementId> joined(const MeshPolygon& first, const MeshPolygon& second) {
    std::unordered_map<KzElementId, KzElementId> next;
    std::size_t shared = 0;
    const auto isEdge = [](const MeshPolygon& polygon, KzElementId from, KzElementId to) {
        return std::ranges::find(polygon.points, from) != polygon.points.end() && kzNextCorner(polygon, from) == to;
    };
    for (const auto& [polygon, other] : {std::pair(&first, &second), std::pair(&second, &first)})
        for (KzElementId from : polygon->points) {
            KzElementId to = kzNextCorner(*polygon, from);
            if (isEdge(*other, to, from)) ++shared;
            else next[from] = to;
        }
    if (shared == 0 || next.empty()) return {};
    std::vector<KzElementId> outline{next.begin()->first};
    for (KzElementId to = next.begin()->second; to != outline.front(); to = next.at(to)) {
        outline.push_back(to);
        if (outline.size() > next.size() || !next.contains(to)) return {};
    }
    if (outline.size() != next.size()) return {};  // a ring has two outlines
    return outline;
}

class CPolygonEdit final : public CHosted<"polygon editor", CPolygonEdit, CKzIfc_PolygonEdit> {
public:
    explicit CPolygonEdit(CHostRef<CMesh> mesh) : m_mesh(std::move(mesh)) {}

    KzResult polygonedit_SetMark(std::int32_t mark) override {
        m_mark = mark;
        return KZe_OK;
    }
    // Along normals, the length of the offset is the distance.
    KzResult polygonedit_Extrude(const KzVector3* offset, std::int32_t segments, std::uint32_t flags) override {
        demandFinite({offset->v[0], offset->v[1], offset->v[2]});
        const bool isLocal = (flags & KZfPOLYEDIT_LOCAL) != 0;
        return grow({.shift = isLocal ? kzLength(*offset) : 0,
                     .inset = 0,
                     .offset = isLocal ? KzVector3{} : *offset,
                     .segments = segments,
                     .flags = flags});
    }
    KzResult polygonedit_Inset(double distance, std::uint32_t flags) override {
        demandFinite({distance});
        return grow({.shift = 0, .inset = distance, .offset = {}, .segments = 1, .flags = flags});
    }
    KzResult polygonedit_Bevel(double shift, double inset, std::int32_t segments, std::uint32_t flags) override {
        demandFinite({shift, inset});
        return grow({.shift = shift, .inset = inset, .offset = {}, .segments = segments, .flags = flags});
    }
    KzResult polygonedit_BevelEdges(std::int32_t edgeMark, double width, std::int32_t segments,
                                    std::int32_t shape) override {
        demandSegments(segments);
        if (!(width > 0) || !std::isfinite(width) || shape < KZiEDGEBEVEL_FLAT || shape > KZiEDGEBEVEL_SHARP)
            return refuse(KZe_INVALIDARG, "a bevel has a width above 0, and one of the shapes that there are");
        const CMeshEdit edit(data());
        kzBevelEdges(data(), edgeMark, width, segments, shape);
        return KZe_OK;
    }
    KzResult polygonedit_Bridge(KzElementId first, KzElementId second, std::int32_t segments) override;
    KzResult polygonedit_Split(KzElementId polygon, std::uint32_t start, std::uint32_t end,
                               KzElementId* newPolygon) override;
    KzResult polygonedit_SplitEdge(KzElementId edge, double fraction, KzElementId* point) override;
    KzResult polygonedit_Collapse(KzElementId edge, double fraction, KzElementId* point) override;
    KzResult polygonedit_Join(KzElementId first, KzElementId second, KzElementId* polygon) override;
    KzResult polygonedit_Dissolve(std::int32_t edgeMark) override;
    KzResult polygonedit_Subdivide(std::int32_t level, std::int32_t smooth) override {
        if (level < 1 || level > mostLevels)
            return refuse(KZe_INVALIDARG, fmt::format("level {}; there are 1 to {}", level, mostLevels));
        constexpr std::size_t mostPolygons = std::size_t{1} << 22;
        if (chosen().size() > mostPolygons >> (2 * level))
            return refuse(KZe_GEO_SIZE_LIMIT,
                          fmt::format("level {} would make more than {} polygons", level, mostPolygons));
        const CMeshEdit edit(data());
        for (std::int32_t i = 0; i < level; ++i) kzSubdivide(data(), chosen(), smooth != 0);
        return KZe_OK;
    }
    KzResult polygonedit_Unweld(std::uint32_t* added) override;
    KzResult polygonedit_CloseHoles(std::int32_t maximum, std::uint32_t* closed) override;
    KzResult polygonedit_Align(KzElementId polygon) override;

private:
    CMeshData& data() const { return m_mesh->data; }
    // What the polygons say of one of their corners, they say of another.
    void moveValues(KzElementId from, KzElementId to) const {
        for (MeshMapData& map : data().maps)
            for (const MeshPolygon& polygon : data().polygons)
                if (auto value = map.values.extract({from, polygon.id}))
                    map.values.try_emplace({to, polygon.id}, std::move(value.mapped()));
    }
    std::vector<KzElementId> chosen() const {
        std::vector<KzElementId> ids;
        for (const MeshPolygon& polygon : data().polygons)
            if (kzPolygonType(polygon.type).isClosed && kzMatchesMarks(polygon.marks, m_mark))
                ids.push_back(polygon.id);
        return ids;
    }
    KzResult grow(const ShellMove& move) {
        demandSegments(move.segments);
        const CMeshEdit edit(data());
        kzGrowShells(data(), chosen(), move);
        return KZe_OK;
    }
    MeshEdge edgeAt(KzElementId edge) const { return data().edges().at(edge); }
    static double fractionOf(double fraction) {
        if (!(fraction >= 0 && fraction <= 1))
            throw refuse(KZe_INVALIDARG, fmt::format("a fraction is 0 to 1, not {}", fraction));
        return fraction;
    }
    KzElementId join(const MeshPolygon& first, const MeshPolygon& second);
    std::vector<KzElementId> outlineOf(KzElementId element) const;

    CHostRef<CMesh> m_mesh;
    std::int32_t m_mark = 0;
};

// The corners of a polygon, or the open loop that an edge belongs to, as a polygon that fills it would have them.
std::vector<KzElementId> CPolygonEdit::outlineOf(KzElementId element) const {
    if (const MeshPolygon* polygon = data().polygons.find(element)) return polygon->points;
    const MeshEdge edge = edgeAt(element);
    for (auto& loop : kzOpenLoops(data()))
        for (std::size_t i = 0; i < loop.size(); ++i) {
            KzElementId a = loop[i], b = loop[(i + 1) % loop.size()];
            if ((a == edge.start && b == edge.end) || (a == edge.end && b == edge.start)) return std::move(loop);
        }
    throw refuse(KZe_NOTSUPPORTED, "the edge is not open");
}

// The outlines face away from each other: what bridges them runs from the one to the other, turned round.
KzResult CPolygonEdit::polygonedit_Bridge(KzElementId first, KzElementId second, std::int32_t segments) {
    demandSegments(segments);
    const CMeshEdit edit(data());
    const auto from = outlineOf(first);
    auto to = outlineOf(second);
    if (from.size() != to.size() || first == second)
        return refuse(KZe_NOTSUPPORTED, fmt::format("{} points cannot be bridged to {}", from.size(), to.size()));
    std::ranges::reverse(to);
    const std::size_t count = from.size();
    const auto at = [&](KzElementId point) { return data().points.at(point).position; };
    std::size_t turn = 0;
    double least = -1;
    for (std::size_t i = 0; i < count; ++i) {
        double sum = 0;
        for (std::size_t j = 0; j < count; ++j) sum += kzLength(at(from[j]) - at(to[(i + j) % count]));
        if (least < 0 || sum < least) least = sum, turn = i;
    }
    std::rotate(to.begin(), to.begin() + static_cast<std::ptrdiff_t>(turn), to.end());
    std::vector<std::vector<KzElementId>> rings{from};
    for (std::int32_t i = 1; i < segments; ++i) {
        rings.emplace_back();
        for (std::size_t j = 0; j < count; ++j)
            rings.back().push_back(
                data().addPoint(at(from[j]) + (at(to[j]) - at(from[j])) * (double(i) / segments)).id);
    }
    rings.push_back(to);
    const MeshPolygon* like = data().polygons.find(first);
    MeshPolygon wall;
    if (like != nullptr) wall = *like;
    wall.marks = 0;
    for (std::size_t i = 0; i + 1 < rings.size(); ++i)
        for (std::size_t j = 0; j < count; ++j) {
            const std::size_t next = (j + 1) % count;
            wall.points = {rings[i][j], rings[i][next], rings[i + 1][next], rings[i + 1][j]};
            data().polygons.add(wall);
        }
    data().removePolygons([&](const MeshPolygon& polygon) { return polygon.id == first || polygon.id == second; });
    return KZe_OK;
}

KzResult CPolygonEdit::polygonedit_Split(KzElementId polygon, std::uint32_t start, std::uint32_t end,
                                         KzElementId* newPolygon) {
    const CMeshEdit edit(data());
    MeshPolygon first = data().polygons.at(polygon);
    const std::size_t count = first.points.size();
    const std::size_t low = std::min(start, end), high = std::max(start, end);
    if (high >= count) return KZe_OUTOFBOUNDS;
    if (!kzPolygonType(first.type).isClosed || high - low < 2 || high - low + 1 >= count)
        return refuse(KZe_INVALIDARG, fmt::format("there is nothing between the corners {} and {}", start, end));
    MeshPolygon second = first;
    const auto begin = first.points.begin();
    second.points.assign(begin + static_cast<std::ptrdiff_t>(low), begin + static_cast<std::ptrdiff_t>(high) + 1);
    KzElementId added = *newPolygon = data().polygons.add(std::move(second)).id;
    data().noteCopy(added, polygon);
    std::vector<std::vector<double>> weights(high - low + 1, std::vector<double>(count));
    for (std::size_t i = low; i <= high; ++i) weights[i - low][i] = 1;
    kzMixValues(data(), data(), polygon, added, weights);
    auto& rest = data().polygons.at(polygon).points;
    for (MeshMapData& map : data().maps)
        for (std::size_t i = low + 1; i < high; ++i) map.values.erase({rest[i], polygon});
    rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(low) + 1, rest.begin() + static_cast<std::ptrdiff_t>(high));
    data().changed(KZfMESHEDIT_POLYGONS | KZfMESHEDIT_VERTICES);
    return KZe_OK;
}

KzResult CPolygonEdit::polygonedit_SplitEdge(KzElementId edge, double fraction, KzElementId* point) {
    const CMeshEdit edit(data());
    const MeshEdge split = edgeAt(edge);
    const KzVector3 from = data().points.at(split.start).position, to = data().points.at(split.end).position;
    const auto part = static_cast<float>(fractionOf(fraction));
    *point = data().addPoint(from + (to - from) * fraction).id;
    for (MeshMapData& map : data().maps)
        for (KzElementId polygon : split.polygons) {
            const auto *first = map.find(split.start, polygon), *second = map.find(split.end, polygon);
            if (first == nullptr || second == nullptr) continue;
            const bool isCorner = map.values.contains({split.start, polygon});
            std::vector<float> mixed = *first;
            for (std::size_t i = 0; i < mixed.size(); ++i) mixed[i] += ((*second)[i] - mixed[i]) * part;
            map.values.try_emplace({*point, isCorner ? polygon : nullptr}, std::move(mixed));
        }
    for (KzElementId id : split.polygons) {
        auto& corners = data().polygons.at(id).points;
        const auto place = std::ranges::find(corners, split.start);
        const bool isForward = kzNextCorner(data().polygons.at(id), split.start) == split.end;
        corners.insert(isForward ? place + 1 : place, *point);
    }
    data().changed(KZmMESHEDIT_TOPOLOGY);
    return KZe_OK;
}

KzResult CPolygonEdit::polygonedit_Collapse(KzElementId edge, double fraction, KzElementId* point) {
    const CMeshEdit edit(data());
    const MeshEdge gone = edgeAt(edge);
    const KzVector3 from = data().points.at(gone.start).position, to = data().points.at(gone.end).position;
    data().points.at(gone.start).position = from + (to - from) * fractionOf(fraction);
    moveValues(gone.end, gone.start);
    std::unordered_set<KzElementId> flat;
    for (MeshPolygon& polygon : data().polygons) {
        auto& corners = polygon.points;
        if (std::ranges::find(corners, gone.end) == corners.end()) continue;
        if (std::ranges::find(corners, gone.start) != corners.end()) std::erase(corners, gone.end);
        else std::ranges::replace(corners, gone.end, gone.start);
        if (!kzCanHaveCorners(polygon.type, corners.size())) flat.insert(polygon.id);
    }
    data().removePolygons([&](const MeshPolygon& polygon) { return flat.contains(polygon.id); });
    data().removePoints([&](const MeshPoint& each) { return each.id == gone.end; });
    *point = gone.start;
    return KZe_OK;
}

KzElementId CPolygonEdit::join(const MeshPolygon& first, const MeshPolygon& second) {
    auto outline = joined(first, second);
    if (outline.size() < 3) return nullptr;
    std::vector<KzElementId> former = first.points;
    former.insert(former.end(), second.points.begin(), second.points.end());
    for (MeshMapData& map : data().maps)
        for (KzElementId point : second.points)
            if (const auto value = map.values.find({point, second.id}); value != map.values.end())
                map.values.try_emplace({point, first.id}, std::vector<float>(value->second));
    data().polygons.at(first.id).points = std::move(outline);
    data().removePolygons([&](const MeshPolygon& polygon) { return polygon.id == second.id; });
    kzDropBare(data(), former);
    return first.id;
}

KzResult CPolygonEdit::polygonedit_Join(KzElementId first, KzElementId second, KzElementId* polygon) {
    const CMeshEdit edit(data());
    *polygon = first == second ? nullptr
                               : join(MeshPolygon(data().polygons.at(first)), MeshPolygon(data().polygons.at(second)));
    return *polygon != nullptr ? KZe_OK : refuse(KZe_NOTFOUND, "the polygons share no edge, or all of them");
}

KzResult CPolygonEdit::polygonedit_Dissolve(std::int32_t edgeMark) {
    const CMeshEdit edit(data());
    std::vector<std::pair<KzElementId, KzElementId>> ends;
    for (const MeshEdge& edge : data().edges())
        if (kzMatchesMarks(edge.marks, edgeMark) && edge.polygons.size() == 2) ends.emplace_back(edge.start, edge.end);
    for (const auto& [start, end] : ends) {
        const MeshEdge* edge = data().edgeBetween(start, end);
        if (edge == nullptr || edge->polygons.size() != 2 || edge->polygons[0] == edge->polygons[1]) continue;
        const MeshPolygon first = data().polygons.at(edge->polygons[0]), second = data().polygons.at(edge->polygons[1]);
        join(first, second);
    }
    return KZe_OK;
}

KzResult CPolygonEdit::polygonedit_Unweld(std::uint32_t* added) {
    const CMeshEdit edit(data());
    *added = 0;
    std::unordered_set<KzElementId> used;
    const auto ids = chosen();
    const std::unordered_set<KzElementId> all(ids.begin(), ids.end());
    for (const MeshPolygon& polygon : data().polygons)
        if (!all.contains(polygon.id)) used.insert(polygon.points.begin(), polygon.points.end());
    for (KzElementId id : ids)
        for (KzElementId& corner : data().polygons.at(id).points) {
            if (used.insert(corner).second) continue;
            const MeshPoint copy = data().points.at(corner);
            KzElementId own = data().points.add(copy).id;
            data().noteCopy(own, corner);
            ++*added;
            for (MeshMapData& map : data().maps) {
                if (auto value = map.values.extract({corner, id})) map.values[{own, id}] = std::move(value.mapped());
                if (const auto value = map.values.find({corner, nullptr}); value != map.values.end())
                    map.values.try_emplace({own, nullptr}, std::vector<float>(value->second));
            }
            corner = own;
        }
    data().changed(KZmMESHEDIT_TOPOLOGY);
    return KZe_OK;
}

KzResult CPolygonEdit::polygonedit_CloseHoles(std::int32_t maximum, std::uint32_t* closed) {
    const CMeshEdit edit(data());
    *closed = 0;
    for (auto& loop : kzOpenLoops(data()))
        if (maximum >= 0 && loop.size() <= static_cast<std::size_t>(maximum)) {
            data().addPolygon(KZi_POLYTYPE_FACE, std::move(loop));
            ++*closed;
        }
    return KZe_OK;
}

// Neighbours that face the same side run along their edge in opposite directions.
KzResult CPolygonEdit::polygonedit_Align(KzElementId polygon) {
    const CMeshEdit edit(data());
    data().polygons.at(polygon);
    std::vector<KzElementId> open{polygon};
    std::unordered_set<KzElementId> seen{polygon};
    for (std::size_t i = 0; i < open.size(); ++i) {
        const MeshPolygon here = data().polygons.at(open[i]);
        for (KzElementId from : here.points) {
            KzElementId to = kzNextCorner(here, from);
            const MeshEdge* edge = data().edgeBetween(from, to);
            if (edge == nullptr) continue;
            for (KzElementId id : edge->polygons) {
                if (!seen.insert(id).second) continue;
                MeshPolygon& next = data().polygons.at(id);
                if (kzNextCorner(next, from) == to) std::reverse(next.points.begin() + 1, next.points.end());
                open.push_back(id);
            }
        }
    }
    data().changed(KZfMESHEDIT_VERTICES);
    return KZe_OK;
}

}  // namespace

IKzUnknown* kzMakePolygonEdit(CHostRef<CMesh> mesh) { return kzMakeObject<CPolygonEdit>(std::move(mesh)); }

}  // namespace kzhost
