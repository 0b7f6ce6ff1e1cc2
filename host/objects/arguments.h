// Checks of the arguments of operations on objects.
#pragma once

#include "host/core/object.h"

#include "kz/result.h"

namespace kzhost {

// The object behind an argument that must be one of this host's.
template <class Class> CHostRef<Class> kzOwn(IKzUnknown* object) {
    auto own = CHostRef<Class>::of(object);
    if (!own) throw KZe_INVALIDARG;
    return own;
}

// The value of an argument that must not be null.
template <class Value> Value& kzNotNull(Value* value) {
    if (value == nullptr) throw KZe_INVALIDARG;
    return *value;
}

}  // namespace kzhost
