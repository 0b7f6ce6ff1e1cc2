// One call of the host, forwarded to Python: the path that every operation of every adapter takes.
#include "serve/arguments.h"
#include "serve/method_call.h"
#include "serve/outputs.h"
#include "serve/reasons.h"

#include "module/pending_exception.h"
#include "module/py_lock.h"
#include "wrap/result_codes.h"

#include "kz/result.h"

namespace {

bool isRaised() noexcept { return PyThreadState_GET()->curexc_type != nullptr; }

PyObject* nameOf(KzForwardedMethod& method) noexcept {
    if (method.interned == nullptr) method.interned = PyString_InternFromString(method.name);
    return method.interned;
}

// `argument` is the index of the input that could not be passed on, and -1 where the method itself raised.
KzResult codeOfRaised(PyObject* self, const KzForwardedMethod& method, int argument) noexcept {
    // By far the most frequent one, and silent: it need not be made into an object first.
    if (PyThreadState_GET()->curexc_type == PyExc_NotImplementedError) {
        PyErr_Clear();
        kzSetQuiet(false);
        return KZe_NOTIMPL;
    }
    if (argument >= 0) kzExplainArgument(self, method, argument);
    else if (!kzQuietFlag) kzExplainRaised(self, method);
    if (method.signature[0] != 'r') {
        PyErr_Clear();
        return KZe_FAILED;
    }
    return kzResultOfPending();
}

KzResult forwardLocked(PyObject* self, KzForwardedMethod& method, const KzWord* word) noexcept {
    // The host may call while an exception is on its way through the Python code that called it: a destructor that lets
    // go of a host object. The method must not see it, and it must go on afterwards.
    const CPendingException pending;
    CArguments arguments(self);
    const char* letter = method.signature + 1;
    PyObject* name = nameOf(method);
    if (name == nullptr) return codeOfRaised(self, method, -1);
    if (!arguments.build(letter, word)) return codeOfRaised(self, method, arguments.count() - 1);
    if (method.signature[0] == 'r' && !kzHavePlaces(letter, word)) return KZe_INVALIDARG;
    PyObject* returned = kzCallByName(arguments.items(), arguments.count(), name);
    // Short of memory, the interpreter may return something and raise all the same.
    if (returned == nullptr || isRaised()) {
        const KzResult code = codeOfRaised(self, method, -1);
        // A method that raises the name of a success has no values for the outputs, which the host is going to read.
        if (kzSucceeded(code)) kzClearOutputs(letter, word);
        return code;
    }
    // The reference to what was returned is not given back, whatever it is: the host is handed the buffers of returned
    // strings as they are, and relies on them for as long as Python lives.
    int failed = 0;
    const KzResult code = kzStoreOutputs(returned, letter, word, failed);
    if (kzFailed(code)) {
        kzExplainOutput(self, method, returned, failed, code);
        PyErr_Clear();
    }
    return code;
}

}  // namespace

KzResult kzForward(void* instance, KzForwardedMethod& method, const KzWord* words) noexcept {
    if (instance == nullptr) return KZe_FAILED;
    return kzBoundary([=, &method] {
        const CPyLock lock(method.name);
        kzSetQuiet(false);  // with the lock held: the flag belongs to whoever holds it
        return forwardLocked(static_cast<PyObject*>(instance), method, words);
    });
}
