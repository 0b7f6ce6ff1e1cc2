// The one place where C++ exceptions become result codes on their way to the host.
#pragma once

#include "kz/base/codes.h"

#include <type_traits>

// The code for the exception being handled: a thrown KzResult is itself, a failed allocation OUTOFMEMORY, anything else
// FAILED. Call it only inside a catch block.
KzResult kzCodeOfException() noexcept;

// Throws INVALIDARG when a caller has passed a null pointer for one of its outputs.
template <class... Places> void kzNeedPlaces(Places*... places) {
    const bool isOneMissing = ((places == nullptr) || ...);
    if (isOneMissing) throw kzInvalidArgument;
}

// Runs an operation that returns a result code: a thrown code becomes the result.
template <class Operation> KzResult kzBoundary(Operation&& operation) noexcept {
    try {
        return operation();
    } catch (...) {
        return kzCodeOfException();
    }
}

// Runs an operation that returns a plain value or nothing; if it throws, the value is zero. It needs a name of its own
// because a result code and a plain 32-bit value have the same type.
template <class Operation> auto kzValueBoundary(Operation&& operation) noexcept {
    try {
        return operation();
    } catch (...) {
        return std::invoke_result_t<Operation>();
    }
}
