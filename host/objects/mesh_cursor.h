// The base of cursors: a cursor stands at one element of a mesh at a time, owns a reference to the mesh, and survives
// the removal of its element.
#pragma once

#include "host/objects/arguments.h"
#include "host/objects/mesh_data.h"

#include "kz/object.h"

namespace kzhost {

// `Class::table(data)` is the table of the elements at which the cursor stands.
template <class Class, class Element> class CMeshCursor : public CHostSelf<Class> {
public:
    // `mesh` is the object that owns the data.
    CMeshCursor(IKzUnknown* mesh, CMeshData& data, KzElementId id = nullptr) : m_mesh(mesh), m_data(data), m_id(id) {}

protected:
    CMeshData& data() const { return m_data; }
    CElementTable<Element>& table() const { return Class::table(data()); }

    // Throws NOTAVAILABLE if the cursor stands nowhere or its element has been removed.
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
        const MeshMapData* mapData = data().maps.find(map);
        return mapData != nullptr ? mapData->dimension : 0;
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
    // From nowhere it moves to the first element.
    KzResult next() { return moveToIndex(static_cast<std::uint32_t>(table().indexOf(m_id) + 1)); }
    KzResult giveMesh(IKzUnknown** mesh) const { return m_mesh.get(mesh); }

    // The visitor may change the mesh, move the cursor or release it: the elements are listed at the start, removed
    // ones are skipped, and a reference keeps the cursor alive.
    template <class Test> KzResult visit(IKzUnknown* visitor, Test test) {
        const CKzUser_Visitor asVisitor(visitor);
        if (!asVisitor) return KZe_INVALIDARG;
        const auto keeper = this->self();
        for (KzElementId id : table().ids()) {
            const Element* element = table().find(id);
            if (element == nullptr || !test(*element)) continue;
            m_id = id;
            const KzResult code = asVisitor->Evaluate();
            if (code == KZe_ABORT) return KZe_OK;
            if (kzFailed(code)) return code;
        }
        return KZe_OK;
    }
    KzResult visitMarked(std::int32_t mark, IKzUnknown* visitor) {
        return visit(visitor, [mark](const Element& element) { return kzMatchesMarks(element.marks, mark); });
    }

    std::int32_t marks() const { return hereOrNull() != nullptr ? hereOrNull()->marks : 0; }
    bool testMarks(std::int32_t mark) const { return hereOrNull() != nullptr && kzMatchesMarks(marks(), mark); }
    KzResult setMarks(std::int32_t set, std::int32_t clear) {
        const CMeshEdit edit(data());
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

// What all cursors answer alike. The names of operations begin with their interface's prefix, so no base can override
// them.
#define KZ_CURSOR_OPERATIONS(prefix)                                                                                   \
    using CMeshCursor::CMeshCursor;                                                                                    \
    using CMeshCursor::table;                                                                                          \
    KzResult prefix##_MoveTo(KzElementId element) override { return moveTo(element); }                                 \
    KzResult prefix##_MoveToIndex(std::uint32_t index) override { return moveToIndex(index); }                         \
    bool prefix##_IsAt() override { return isAt(); }                                                                   \
    KzElementId prefix##_Id() override { return id(); }                                                                \
    KzResult prefix##_Mesh(IKzUnknown** mesh) override { return giveMesh(mesh); }

// As above, for elements that users select.
#define KZ_MARKED_ELEMENT_OPERATIONS(prefix)                                                                           \
    std::uint32_t prefix##_Index() override { return index(); }                                                        \
    KzResult prefix##_Enumerate(std::int32_t mark, IKzUnknown* visitor) override {                                     \
        return visitMarked(mark, visitor);                                                                             \
    }                                                                                                                  \
    std::int32_t prefix##_Marks() override { return marks(); }                                                         \
    KzResult prefix##_SetMarks(std::int32_t set, std::int32_t clear) override { return setMarks(set, clear); }         \
    bool prefix##_TestMarks(std::int32_t mark) override { return testMarks(mark); }

}  // namespace kzhost
