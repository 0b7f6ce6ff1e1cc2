// Owned references to Python objects. Every operation on them needs the interpreter lock.
#pragma once

#include "module/python.h"

#include "kz/base/codes.h"

#include <utility>

// Owns one reference, or is null.
class CPyRef_Any {
public:
    CPyRef_Any(const CPyRef_Any&) = delete;
    CPyRef_Any& operator=(const CPyRef_Any&) = delete;
    virtual ~CPyRef_Any() { Py_XDECREF(m_object); }

    PyObject* get() const noexcept { return m_object; }
    operator PyObject*() const noexcept { return m_object; }
    // Passes the reference to the caller. A CPyRef must not be used afterwards.
    PyObject* release() noexcept { return std::exchange(m_object, nullptr); }

protected:
    explicit CPyRef_Any(PyObject* object) noexcept : m_object(object) {}
    // Takes ownership of the new reference. The old one is dropped last, because that may run code.
    void replace(PyObject* owned) noexcept {
        PyObject* old = std::exchange(m_object, owned);
        Py_XDECREF(old);
    }

    PyObject* m_object;
};

// Never null: an empty one holds None. Throws FAILED for a null pointer.
class CPyRef : public CPyRef_Any {
public:
    enum Ownership : bool { borrowed = false, owned = true };

    CPyRef() noexcept : CPyRef_Any(Py_None) { Py_INCREF(m_object); }
    explicit CPyRef(PyObject* object, Ownership ownership = borrowed) : CPyRef_Any(checked(object)) {
        if (ownership == borrowed) Py_INCREF(m_object);
    }
    CPyRef(const CPyRef& other) noexcept : CPyRef_Any(other.m_object) { Py_INCREF(m_object); }
    CPyRef& operator=(const CPyRef& other) noexcept {
        Py_INCREF(other.m_object);
        replace(other.m_object);
        return *this;
    }
    CPyRef& operator=(PyObject* object) {
        Py_INCREF(checked(object));
        replace(object);
        return *this;
    }

private:
    static PyObject* checked(PyObject* object) {
        if (object == nullptr) throw kzFailedCode;
        return object;
    }
};

// May be null. Takes ownership of the reference that a Python call returned.
class CPyRefNull : public CPyRef_Any {
public:
    explicit CPyRefNull(PyObject* adopted = nullptr) noexcept : CPyRef_Any(adopted) {}
    CPyRefNull(CPyRefNull&& other) noexcept : CPyRef_Any(other.release()) {}
    CPyRefNull& operator=(CPyRefNull&& other) noexcept {
        replace(other.release());
        return *this;
    }
    void adopt(PyObject* object) noexcept { replace(object); }
};
