// Cursors: they stand at one element of a mesh at a time, hold the mesh, and survive the element's removal.
#pragma once

#include "host/objects/arguments.h"
#include "host/objects/mesh_data.h"

#include "kz/object.h"

namespace kzhost {

// What all cursors share. `Class::table(data)` is the table of the elements that it stands at.
template <class Class, class Element> class CMeshCursor : public CHostSelf<Class> {
public:
    // `mesh` is the object whose data these are, and keeps them alive.
    CMeshCursor(IKzUnknown* mesh, CMeshData& data, KzElementId id = nullptr) : m_mesh(mesh), m_data(data), m_id(id) {}

protected:
    CMeshData& data() const { return m_data; }
    CElementTable<Element>& table() const { return Class::table(data()); }

    // NOTAVAILABLE when the cursor stands nowhere, or where the element has been removed.
    Element& here() const {
        Element* element = table().find(m_id);
        if (element == nullptr) throw KZe_NOTAVAILABLE;
        return *element;
    }
    const Element* hereOrNull() const { return table().find(m_id); }
    KzElementId id() const { return hereOrNull() != nullptr ? m_id : nullptr; }
    std::uint32_t index() const { return static_cast<std::uint32_t>(table().indexOf(m_id)); }
    bool isAt() const { return hereOrNull() != nullptr; }
    std::uint32_t mapDimension(KzElementId map) const {
        const MeshMapData* found = data().maps.find(map);
        return found != nullptr ? found->dimension : 0;
    }

    KzResult moveTo(KzElementId id) {
        m_id = table().at(id).id;
        return KZe_OK;
    }
    KzResult moveToIndex(std::uint32_t index) {
        m_id = table().byIndex(index).id;
        return KZe_OK;
    }
    void leave() { m_id = nullptr; }
    // From nowhere to the first one.
    KzResult next() { return moveToIndex(static_cast<std::uint32_t>(table().indexOf(m_id) + 1)); }
    KzResult giveMesh(IKzUnknown** mesh) const { return m_mesh.get(mesh); }

    // The visitor may change the mesh, move the cursor or drop it: what is walked over is fixed at the start, what has
    // gone meanwhile is passed over, and the cursor holds itself.
    template <class Test> KzResult visit(IKzUnknown* visitor, Test test) {
        const CKzUser_Visitor held(visitor);
        if (!held) return KZe_INVALIDARG;
        const auto keeper = this->self();
        for (KzElementId id : table().ids()) {
            const Element* element = table().find(id);
            if (element == nullptr || !test(*element)) continue;
            m_id = id;
            const KzResult code = held->Evaluate();
            if (code == KZe_ABORT) return KZe_OK;
            if (kzFailed(code)) return code;
        }
        return KZe_OK;
    }
    KzResult visitMarked(std::int32_t mark, IKzUnknown* visitor) {
        return visit(visitor, [mark](const Element& element) { return kzIsMeant(element.marks, mark); });
    }

    std::int32_t marks() const { return hereOrNull() != nullptr ? hereOrNull()->marks : 0; }
    bool testMarks(std::int32_t mark) const { return hereOrNull() != nullptr && kzIsMeant(marks(), mark); }
    KzResult setMarks(std::int32_t set, std::int32_t clear) {
        Element& element = here();
        element.marks = (element.marks & ~clear) | set;
        data().changed(KZfMESHEDIT_MARKS);
        return KZe_OK;
    }

private:
    CKzLoc_Unknown m_mesh;
    CMeshData& m_data;
    KzElementId m_id;
};

}  // namespace kzhost
