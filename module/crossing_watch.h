// Watching the calls between Python and the host, in both directions. Nothing watches unless the process was started with
// one of the variables that observe/ reads, so the calls of a process without them test one pointer at most.
#pragma once

#include "module/python.h"

#include <cstdint>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

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
    bool isAside = false;  // no call of a function or method, but what goes on beside them (kzWatchedAside)
};

// Sees every call, with the interpreter lock held. It must leave a pending exception as it is.
class CCrossingWatch {
public:
    virtual ~CCrossingWatch() = default;
    // Before a call. True if the watch answers it, so that it is not made: `answer` is the result then, or null with an
    // exception pending, and `end` does not follow.
    virtual bool begin(const KzCrossing& crossing, PyObject*& answer) noexcept = 0;
    // After the call; the result is null if an exception is pending. After "release" the instance may be gone: its address
    // still names it, but it must not be used.
    virtual void end(const KzCrossing& crossing, PyObject* result) noexcept = 0;
    // An object that refers to one of the host has been made, or a host object for an instance (isServed); it is about to be
    // freed.
    virtual void made(PyObject* object, bool isServed) noexcept = 0;
    virtual void gone(PyObject* object) noexcept = 0;
    // The object is never released, on purpose, so it is no leak, and neither is anything that it refers to.
    virtual void kept(PyObject* object) noexcept = 0;
    // Before Python ends: the served instance is never freed, because it keeps a wrapper of itself, or others that do the
    // same keep one of it. True if the watch is going to report that.
    virtual bool keepsItself(PyObject* instance) noexcept = 0;
    // After Python has ended: a host object for the instance is still there, with that many references.
    virtual void remains(PyObject* instance, std::uint32_t references) noexcept = 0;
};

// Null if nobody watches. Set before Python starts, and for good.
extern CCrossingWatch* kzCrossingWatch;

// Tells whoever watches of a new object that refers to one of the host, and returns it.
inline PyObject* kzTellMade(PyObject* object, bool isServed = false) noexcept {
    if (kzCrossingWatch != nullptr) [[unlikely]]
        if (object != nullptr) kzCrossingWatch->made(object, isServed);
    return object;
}

inline void kzTellGone(PyObject* object) noexcept {
    if (kzCrossingWatch != nullptr) [[unlikely]]
        kzCrossingWatch->gone(object);
}

// Memory that is never freed, on purpose, so the leak checker of a build that has one is to pass it over, together with what it
// refers to.
inline void kzMarkKept([[maybe_unused]] const void* memory) noexcept {
#ifdef __SANITIZE_ADDRESS__
    __lsan_ignore_object(memory);
#endif
}

// Tells whoever watches of an object that is never released, on purpose.
inline void kzTellKept(PyObject* object) noexcept {
    kzMarkKept(object);
    if (kzCrossingWatch != nullptr) [[unlikely]]
        kzCrossingWatch->kept(object);
}

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

// Runs the body as above. What it does is no call of a function or method, but something that goes on beside them, and that
// a watch cannot replace: text that Python passes to the host, the import of the servers, the release of an instance.
template <class Body>
PyObject* kzWatchedAside(KzCrossing::Direction direction, const char* owner, const char* method, PyObject* argument,
                         Body&& body) noexcept {
    CCrossingWatch* watch = kzCrossingWatch;
    if (watch == nullptr) return body();
    const KzCrossing crossing{direction, owner, method, nullptr, &argument, argument != nullptr ? 1 : 0, nullptr, true};
    PyObject* unused = nullptr;
    watch->begin(crossing, unused);
    PyObject* result = body();
    watch->end(crossing, result);
    return result;
}
