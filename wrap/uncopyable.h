// The base of all types of kz. Their objects stand for host objects, or for memory that is lent to the host, and cannot be
// copied, deep-copied or pickled. Without this the interpreter would silently create an empty object.
#pragma once

#include "module/python.h"

// A base type whose only method is __reduce__, by which copy and pickle ask how to make a copy. It raises TypeError and
// says what to do instead. Python classes that derive from our types may define the method themselves.
struct KzUncopyable {
    explicit KzUncopyable(const char* adviceText) noexcept;
    KzUncopyable(const KzUncopyable&) = delete;
    KzUncopyable& operator=(const KzUncopyable&) = delete;

    PyTypeObject type{};
    const char* advice;
};

// For constructors: false with TypeError set if there are keyword arguments, which no type of kz takes.
bool kzRefuseKeywords(PyObject* self, PyObject* keywords) noexcept;
