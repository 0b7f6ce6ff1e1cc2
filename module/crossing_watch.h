// Watching the calls between Python and the host, in both directions. Nothing watches unless the process was started with
// one of the variables that observe/ reads, so the calls of a process without them test one pointer at most.
#pragma once

#include "module/python.h"

// One call. Everything is borrowed for the time of the call.
struct KzCrossing {
    enum Direction { toHost, toPython };

    Direction direction;
    const char* owner;           // the wrapper's type, "kz", or the class of the Python object
    const char* method;          // "__init__" for the making of an object
    PyObject* self;              // the wrapper or the instance; null for a function, and for an object to be made
    PyObject* const* arguments;  // without `self`
    Py_ssize_t count;
    PyObject* keywords = nullptr;
};

// Sees every call, with the interpreter lock held. It must leave a pending exception as it is.
class CCrossingWatch {
public:
    virtual ~CCrossingWatch() = default;
    // Before a call. True if the watch answers it, so that it is not made: `answer` is the result then, or null with an
    // exception pending, and `end` does not follow.
    virtual bool begin(const KzCrossing& crossing, PyObject*& answer) noexcept = 0;
    // After the call; the result is null if an exception is pending.
    virtual void end(const KzCrossing& crossing, PyObject* result) noexcept = 0;
    // A wrapper or a served instance has been made, or is about to be freed.
    virtual void made(PyObject* object) noexcept = 0;
    virtual void gone(PyObject* object) noexcept = 0;
};

// Null if nobody watches. Set before Python starts, and for good.
extern CCrossingWatch* kzCrossingWatch;

// Runs the body, which returns a new reference or null with an exception pending, as one call into Python.
template <class Body, class... Arguments>
PyObject* kzWatchedEntry(const char* owner, const char* method, PyObject* self, Body&& body,
                         Arguments... arguments) noexcept {
    CCrossingWatch* watch = kzCrossingWatch;
    if (watch == nullptr) return body();
    PyObject* const items[] = {arguments..., nullptr};
    const KzCrossing crossing{KzCrossing::toPython, owner, method, self, items, sizeof...(arguments)};
    PyObject* result = nullptr;
    if (watch->begin(crossing, result)) return result;
    result = body();
    watch->end(crossing, result);
    return result;
}
