// Wrappers that hold one interface reference.
#include "kz/base/object.h"

#include <utility>

void CKzLocalizedObject::drop() noexcept {
    if (IKzUnknown* held = std::exchange(m_held, nullptr)) held->Release();
}

bool CKzLocalizedObject::set(IKzUnknown* object) {
    // The new reference comes first: the object may be alive only through the one held now.
    void* found = nullptr;
    if (object == nullptr || kzFailed(object->QueryInterface(&guid(), &found))) found = nullptr;
    drop();
    m_held = static_cast<IKzUnknown*>(found);
    return m_held != nullptr;
}

bool CKzLocalizedObject::take(IKzUnknown* object) {
    if (object == nullptr) {
        clear();
        return false;
    }
    set(object);
    object->Release();
    return test();
}

KzResult CKzLocalizedObject::get(IKzUnknown** object) const {
    if (m_held == nullptr) return kzNotFound;
    m_held->AddRef();
    *object = m_held;
    return kzOk;
}

bool CKzLoc_Unknown::set(IKzUnknown* object) {
    if (object != nullptr) object->AddRef();
    drop();
    m_held = object;
    return m_held != nullptr;
}
