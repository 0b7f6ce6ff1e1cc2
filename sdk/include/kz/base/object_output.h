// Objects that operations of the host return. A failed operation may leave anything in its outputs, so an output is used
// only if the result code is a success.
#pragma once

#include "kz/base/object.h"

// Calls an operation that has an object output, and makes the wrapper own that object; after a failure the wrapper is
// empty. Returns the operation's own code.
template <class Operation> KzResult kzTakeOutput(CKzLocalizedObject& wrapper, Operation&& operation) {
    IKzUnknown* object = nullptr;
    const KzResult code = operation(&object);
    wrapper.take(kzSucceeded(code) ? object : nullptr);
    return code;
}

// As above, but returns FAILED if the operation succeeded without an object of the wrapper's interface.
template <class Operation> KzResult kzObtain(CKzLocalizedObject& wrapper, Operation&& operation) {
    const KzResult code = kzTakeOutput(wrapper, operation);
    return kzSucceeded(code) && !wrapper ? kzFailedCode : code;
}
