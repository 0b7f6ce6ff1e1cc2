// What operations on objects check of their arguments first.
#pragma once

#include "host/core/object.h"

#include "kz/result.h"

namespace kzhost {

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
