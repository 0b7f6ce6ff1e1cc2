// Objects that operations of the host hand out. A failed operation may leave anything in its outputs, which therefore
// count only when its code is a success.
#pragma once

#include "kz/base/object.h"

// Calls an operation that is given the place of an object output, and makes the wrapper hold what it hands out; after a
// failure the wrapper is empty. Returns the operation's own code.
template <class Operation> KzResult kzTakeOutput(CKzLocalizedObject& wrapper, Operation&& operation) {
    IKzUnknown* found = nullptr;
    const KzResult code = operation(&found);
    wrapper.take(kzSucceeded(code) ? found : nullptr);
    return code;
}

// The same, but FAILED when the operation succeeded without handing out an object of the wrapper's interface.
template <class Operation> KzResult kzObtain(CKzLocalizedObject& wrapper, Operation&& operation) {
    const KzResult code = kzTakeOutput(wrapper, operation);
    return kzSucceeded(code) && !wrapper ? kzFailedCode : code;
}
