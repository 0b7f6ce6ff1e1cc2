// Objects of the host that hand out references to themselves, and what operations on objects check first.
#pragma once

#include "host/core/object.h"

#include "kz/result.h"

namespace kzhost {

// A base for host classes made by `create`. The pointer back to the object's own interface counts as no reference.
template <class Class> class CHostSelf {
public:
    template <class... Arguments> static CHostRef<Class> create(Arguments&&... arguments) {
        auto made = CHostRef<Class>::make(std::forward<Arguments>(arguments)...);
        made->m_self = made.raw();
        return made;
    }
    CHostRef<Class> self() const { return CHostRef<Class>::of(m_self); }

private:
    IKzUnknown* m_self = nullptr;
};

// What is behind an argument that has to be an object of this host.
template <class Class> CHostRef<Class> kzOwn(IKzUnknown* object) {
    auto own = CHostRef<Class>::of(object);
    if (!own) throw KZe_INVALIDARG;
    return own;
}

// An argument that may not be null.
template <class Value> Value& kzGiven(Value* value) {
    if (value == nullptr) throw KZe_INVALIDARG;
    return *value;
}

}  // namespace kzhost
