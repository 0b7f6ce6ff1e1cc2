// Follows a mesh.
#include "host/objects/mesh_tracker.h"

#include "kz/object.h"

#include <algorithm>

namespace kzhost {

IKzUnknown* kzMakeMeshTracker(IKzUnknown* mesh) {
    const auto tracker = CHostRef<CMeshTracker>::make();
    IKzUnknown* object = nullptr;
    for (const KzResult code : {tracker->meshtracker_Start(mesh, ~0U), tracker.give(&object)})
        if (kzFailed(code)) throw code;
    return object;
}

KzResult CMeshTracker::meshtracker_Start(IKzUnknown* mesh, std::uint32_t changes) {
    m_mesh = kzOwn<CMesh>(mesh);
    m_kinds = changes;
    return meshtracker_Reset();
}

void CMeshTracker::meshtracker_Stop() {
    if (!m_mesh) return;
    m_last = m_mesh->data;
    m_mesh = {};
}

KzResult CMeshTracker::meshtracker_Reset() {
    if (!m_mesh) return KZe_NOTREADY;
    m_mesh->data.edges();  // so that both know them by the same ids
    m_old = m_mesh->data;
    return KZe_OK;
}

// Each kind of change has a number that grows.
std::uint32_t CMeshTracker::meshtracker_Changes() {
    std::uint32_t changes = 0;
    for (std::uint32_t kind = 1; kind != 0; kind <<= 1U)
        if ((m_kinds & kind) != 0 && now().serial(kind) != m_old.serial(kind)) changes |= kind;
    return changes;
}

KzResult CMeshTracker::visit(const std::vector<KzElementId>& elements, IKzUnknown* visitor) {
    const CKzUser_Visitor asVisitor(visitor);
    if (!asVisitor) return KZe_INVALIDARG;
    const auto keeper = self();
    KzResult code = KZe_OK;
    for (const KzElementId element : elements) {
        m_current = element;
        code = asVisitor->Evaluate();
        if (kzFailed(code)) break;
    }
    m_current = nullptr;
    return kzFailed(code) && code != KZe_ABORT ? code : KZe_OK;
}

KzResult CMeshTracker::meshtracker_ChangedPoints(std::uint32_t changes, IKzUnknown* visitor) {
    if (!m_mesh) return KZe_NOTREADY;
    const std::uint32_t kinds = changes & m_kinds;
    std::vector<KzElementId> changed;
    for (const MeshPoint& point : now().points) {
        const MeshPoint* before = m_old.points.find(point.id);
        const bool isChanged = before == nullptr
                                   ? (kinds & KZfMESHEDIT_POINTS) != 0
                                   : ((kinds & KZfMESHEDIT_POSITION) != 0 &&
                                      !std::equal(point.position.v, point.position.v + 3, before->position.v)) ||
                                         ((kinds & KZfMESHEDIT_MARKS) != 0 && point.marks != before->marks);
        if (isChanged) changed.push_back(point.id);
    }
    return visit(changed, visitor);
}

KzResult CMeshTracker::meshtracker_ChangedPolygons(std::uint32_t changes, IKzUnknown* visitor) {
    if (!m_mesh) return KZe_NOTREADY;
    const std::uint32_t kinds = changes & m_kinds;
    std::vector<KzElementId> changed;
    for (const MeshPolygon& polygon : now().polygons) {
        const MeshPolygon* before = m_old.polygons.find(polygon.id);
        const bool isChanged = before == nullptr
                                   ? (kinds & KZfMESHEDIT_POLYGONS) != 0
                                   : ((kinds & KZfMESHEDIT_POLYGONS) != 0 && polygon.type != before->type) ||
                                         ((kinds & KZfMESHEDIT_VERTICES) != 0 && polygon.points != before->points) ||
                                         ((kinds & KZfMESHEDIT_TAGS) != 0 && polygon.tags != before->tags) ||
                                         ((kinds & KZfMESHEDIT_MARKS) != 0 && polygon.marks != before->marks);
        if (isChanged) changed.push_back(polygon.id);
    }
    return visit(changed, visitor);
}

std::vector<KzElementId> CMeshTracker::onlyIn(CMeshData& one, CMeshData& other, std::int32_t elements) {
    std::vector<KzElementId> only;
    const auto compare = [&only](auto& table, auto& otherTable) {
        for (const auto& element : table)
            if (!otherTable.has(element.id)) only.push_back(element.id);
    };
    switch (elements) {
    case KZiMESHELT_POINT: compare(one.points, other.points); break;
    case KZiMESHELT_EDGE: compare(one.edges(), other.edges()); break;
    case KZiMESHELT_POLYGON: compare(one.polygons, other.polygons); break;
    case KZiMESHELT_MAP: compare(one.maps, other.maps); break;
    default: throw KZe_INVALIDARG;
    }
    return only;
}

std::uint32_t CMeshTracker::meshtracker_AddedCount(std::int32_t elements) {
    return static_cast<std::uint32_t>(onlyIn(now(), m_old, elements).size());
}

std::uint32_t CMeshTracker::meshtracker_RemovedCount(std::int32_t elements) {
    return static_cast<std::uint32_t>(onlyIn(m_old, now(), elements).size());
}

KzResult CMeshTracker::meshtracker_RemovedByIndex(std::int32_t elements, std::uint32_t index, KzElementId* element) {
    const auto removed = onlyIn(m_old, now(), elements);
    if (index >= removed.size()) return KZe_OUTOFBOUNDS;
    *element = removed[index];
    return KZe_OK;
}

KzResult CMeshTracker::meshtracker_OldPosition(KzElementId point, KzVector3* position) {
    *position = m_old.points.at(point).position;
    return KZe_OK;
}

}  // namespace kzhost
