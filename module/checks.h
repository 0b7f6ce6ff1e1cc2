// Checks for the steps of the module. A step that fails throws a bare result code.
#pragma once

#include "kz/base/codes.h"

// Returns the pointer, or throws the code if it is null: a Python call failed, or the host lacks a service.
template <class T> T* kzNonNull(T* pointer, KzResult code = kzFailedCode) {
    if (pointer == nullptr) throw code;
    return pointer;
}

inline void kzTrue(bool condition, KzResult code = kzFailedCode) {
    if (!condition) throw code;
}

// For Python calls that return -1 on failure.
template <class Integer> Integer kzNonNegative(Integer value, KzResult code = kzFailedCode) {
    if (value < 0) throw code;
    return value;
}

// For host calls: throws the call's own code if it is a failure.
inline KzResult kzSucceed(KzResult code) {
    if (kzFailed(code)) throw code;
    return code;
}
