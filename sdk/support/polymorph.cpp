// The generic factory of objects with several interfaces.
#include "kz/base/polymorph.h"

#include "instance.h"

CKzGenericPolymorph::~CKzGenericPolymorph() {
    // Records are destroyed one by one: the list's own destructor would recurse once per record.
    while (m_first) m_first = std::move(m_first->m_next);
}

void CKzGenericPolymorph::append(std::unique_ptr<CKzInterfaceRecord> record) {
    record->m_index = m_recordCount++;
    CKzInterfaceRecord* added = record.get();
    (m_last != nullptr ? m_last->m_next : m_first) = std::move(record);
    m_last = added;
}

void CKzGenericPolymorph::nameOnce(const char* name) noexcept {
    if (m_name == nullptr) m_name = name;
}

const CKzInterfaceRecord* CKzGenericPolymorph::findRecord(const KzGuid* iid) const noexcept {
    if (iid == nullptr || *iid == KZu_UNKNOWN) return m_first.get();
    for (const auto* record = m_first.get(); record != nullptr; record = record->m_next.get())
        if (record->iid() == *iid) return record;
    return nullptr;
}

bool CKzGenericPolymorph::testInterface(const KzGuid& iid) const { return findRecord(&iid) != nullptr; }

IKzUnknown* CKzGenericPolymorph::spawn(const KzGuid* iid) {
    const CKzInterfaceRecord* record = findRecord(iid);
    if (record == nullptr) return nullptr;
    void* object = createObject();
    if (object == nullptr) return nullptr;
    CKzInstance* instance = nullptr;
    try {
        instance = new CKzInstance(*this, object);
    } catch (...) {
        freeObject(object);
        throw;
    }
    IKzUnknown* slot = instance->slot(record->index());
    instance->firstReference(record->m_state(slot));
    spawned(object, slot);
    return slot;
}
