// The arguments of one call into Python.
#pragma once

#include "module/python.h"
#include "serve/relay.h"

// Owns references to the instance and to the arguments for the duration of the call.
class CArguments {
public:
    // The other items stay uninitialised: clearing them would cost as much as all the rest of the preparation.
    explicit CArguments(PyObject* self) noexcept {
        Py_INCREF(self);
        m_items[0] = self;
    }
    ~CArguments();
    CArguments(const CArguments&) = delete;
    CArguments& operator=(const CArguments&) = delete;

    // Makes an argument for each letter up to the colon and advances both pointers past what was read. False, with an
    // exception pending, if one of them could not be made.
    bool build(const char*& letter, const KzWord*& word) noexcept;

    // The instance, then the arguments.
    PyObject** items() noexcept { return m_items; }
    int count() const noexcept { return m_count; }

private:
    PyObject* make(const char*& letter, const KzWord*& word) noexcept;
    PyObject* makeView(char element, const KzWord*& word) noexcept;

    PyObject* m_items[1 + kzMostInputs];
    int m_count = 1;
};
