// One call of the host, forwarded to Python: the path that every operation of every adapter takes. The steps are: take
// the lock, set a pending exception aside, convert the arguments, call the method by its name, convert what it
// returned, and store all outputs or none. Nothing is allocated on this path apart from the Python objects themselves.
#include "serve/arguments.h"
#include "serve/method_call.h"
#include "serve/outputs.h"
#include "serve/reasons.h"

#include "module/crossing_watch.h"
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

// `argument` is the index of the input that could not be converted, or -1 if the method itself raised.
KzResult codeOfRaised(PyObject* self, const KzForwardedMethod& method, int argument) noexcept {
    // By far the most frequent exception, and a silent one, so it need not be normalised first.
    if (PyThreadState_GET()->curexc_type == PyExc_NotImplementedError) {
        PyErr_Clear();
        kzSetQuiet(false);
        return KZe_NOTIMPL;
    }
    const bool isReported = method.signature[0] == 'r';  // by the conversion into a code
    if (argument >= 0) kzExplainArgument(self, method, argument);
    else if (!kzQuietFlag) kzExplainRaised(self, method, isReported);
    if (!isReported) {
        PyErr_Clear();
        return KZe_FAILED;
    }
    return kzResultOfPending();
}

PyObject* callWatched(CArguments& arguments, const KzForwardedMethod& method, PyObject* name) noexcept {
    PyObject** items = arguments.items();
    const KzCrossing crossing{KzCrossing::toPython, Py_TYPE(items[0])->tp_name, method.name, items[0], items + 1,
                              arguments.count() - 1};
    PyObject* result = nullptr;
    if (kzCrossingWatch->begin(crossing, result)) return result;
    result = kzCallByName(items, arguments.count(), name);
    kzCrossingWatch->end(crossing, result);
    return result;
}

KzResult forwardLocked(PyObject* self, KzForwardedMethod& method, const KzWord* word) noexcept {
    // The host may call while an exception propagates through the Python code that has called the host, for example
    // from a destructor that releases a host object. The method must not see it, and it must be pending again
    // afterwards.
    const CPendingException pending;
    CArguments arguments(self);
    const char* letter = method.signature + 1;
    PyObject* name = nameOf(method);
    if (name == nullptr) return codeOfRaised(self, method, -1);
    CPyRefNull function;
    if (kzCrossingWatch == nullptr) {
        function = kzPlainMethod(self, name);
        if (kzIsUnimplemented(function)) return KZe_NOTIMPL;
    }
    if (!arguments.build(letter, word)) return codeOfRaised(self, method, arguments.count() - 1);
    if (method.signature[0] == 'r' && !kzHavePlaces(letter, word)) return KZe_INVALIDARG;
    PyObject* result = kzCrossingWatch == nullptr ? kzCallMethod(function, arguments.items(), arguments.count(), name)
                                                  : callWatched(arguments, method, name);
    // When memory is short, the interpreter may return an object and still leave an exception pending.
    if (result == nullptr || isRaised()) {
        const KzResult code = codeOfRaised(self, method, -1);
        // A method that raises the name of a success returns no values, but the host is going to read the outputs.
        if (kzSucceeded(code)) kzClearOutputs(letter, word);
        return code;
    }
    // The reference to the returned object is leaked on purpose: the host is given the buffers of returned strings as
    // they are, and may use them for as long as Python lives.
    kzTellKept(result);
    int failedIndex = 0;
    const KzResult code = kzStoreOutputs(result, letter, word, failedIndex);
    if (kzFailed(code)) {
        kzExplainOutput(self, method, result, failedIndex, code);
        PyErr_Clear();
    }
    return code;
}

}  // namespace

KzResult kzForward(void* instance, KzForwardedMethod& method, const KzWord* words) noexcept {
    if (instance == nullptr) return KZe_FAILED;
    return kzBoundary([=, &method] {
        const CPyLock lock(method.name);
        kzSetQuiet(false);  // only now, because the interpreter lock guards the flag
        return forwardLocked(static_cast<PyObject*>(instance), method, words);
    });
}
