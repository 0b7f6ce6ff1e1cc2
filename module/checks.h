// How a failed step inside the module is signalled: a bare result code is thrown.
#pragma once

#include "kz/base/codes.h"

// The pointer, or the code is thrown when it is null: a Python object that could not be made, a service that is missing.
template <class T> T* kzNonNull(T* pointer, KzResult code = kzFailedCode) {
    if (pointer == nullptr) throw code;
    return pointer;
}

inline void kzTrue(bool condition, KzResult code = kzFailedCode) {
    if (!condition) throw code;
}

// For Python calls that answer -1 on failure.
template <class Integer> Integer kzNonNegative(Integer value, KzResult code = kzFailedCode) {
    if (value < 0) throw code;
    return value;
}

// For host calls: a failure code is thrown as it is.
inline KzResult kzSucceed(KzResult code) {
    if (kzFailed(code)) throw code;
    return code;
}
