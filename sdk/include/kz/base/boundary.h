// The one place where C++ exceptions become result codes on their way to the host.
#pragma once

#include "kz/base/codes.h"

#include <type_traits>

// The code for the exception being handled: a thrown KzResult is itself, a failed allocation OUTOFMEMORY, anything else
// FAILED. Call it only inside a catch block.
KzResult kzCodeOfException() noexcept;

// Runs an operation of an interface. A result operation returns the thrown code; an operation that returns a plain
// value returns zero; a void operation just returns.
template <class Operation> auto kzBoundary(Operation&& operation) noexcept {
    using Value = std::invoke_result_t<Operation>;
    try {
        return operation();
    } catch (...) {
        [[maybe_unused]] const KzResult code = kzCodeOfException();
        if constexpr (std::is_same_v<Value, KzResult>) return code;
        else return Value();
    }
}
