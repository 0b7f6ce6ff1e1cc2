// What an operation's code says where the operation is optional.
#pragma once

#include "kz/result.h"

namespace kzhost {

// True for a failure. An operation that a module does not implement has nothing against what is asked.
inline bool kzRefuses(KzResult code) noexcept { return kzFailed(code) && code != KZe_NOTIMPL; }

// Throws a failure.
inline void kzDemand(KzResult code) {
    if (kzFailed(code)) throw code;
}

// As above, where the operation is implemented.
inline void kzDemandGiven(KzResult code) {
    if (kzRefuses(code)) throw code;
}

}  // namespace kzhost
