// Wrappers that hold one interface reference.
#include "kz/base/object.h"

#include <utility>

void CKzLocalizedObject::drop() noexcept {
    if (IKzUnknown* old = std::exchange(m_held, nullptr)) old->Release();
}

bool CKzLocalizedObject::set(IKzUnknown* object) {
    // The query comes before the release: the current reference may be the one that keeps the object alive.
    void* answer = nullptr;
    if (object == nullptr || kzFailed(object->QueryInterface(&guid(), &answer))) answer = nullptr;
    drop();
    m_held = static_cast<IKzUnknown*>(answer);
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
