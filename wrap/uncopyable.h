// What all types of kz have in common: their objects stand for something of the host, or for memory that is lent to it,
// and cannot be copied, deep-copied or pickled. The interpreter would make an empty object without a word.
#pragma once

#include "module/python.h"

// A base type whose only method is the one by which copy and pickle ask how to make a copy. It raises TypeError, and says
// what to do instead. Python classes that derive from one of our types may define the method themselves.
struct KzUncopyable {
    explicit KzUncopyable(const char* adviceText) noexcept;
    KzUncopyable(const KzUncopyable&) = delete;
    KzUncopyable& operator=(const KzUncopyable&) = delete;

    PyTypeObject type{};
    const char* advice;
};

// For constructors: false with TypeError set when there are keyword arguments, which no type of kz takes.
bool kzRefuseKeywords(PyObject* self, PyObject* keywords) noexcept;
