// The pending Python exception, put aside while code runs that must not see it.
#pragma once

#include "module/python.h"

// Anything that may run Python code (a call to the host, letting go of a host object) needs this around it where an
// exception may be pending: the next loop in that code would raise it. An exception that the code in the scope raises
// gives way to the one put aside.
class CPendingException {
public:
    CPendingException() noexcept {
        // Asked inline: this stands on the way of every call that the host makes.
        if (PyThreadState_GET()->curexc_type != nullptr) PyErr_Fetch(&m_type, &m_value, &m_traceback);
    }
    ~CPendingException() {
        if (m_type != nullptr) PyErr_Restore(m_type, m_value, m_traceback);
    }
    CPendingException(const CPendingException&) = delete;
    CPendingException& operator=(const CPendingException&) = delete;

private:
    PyObject* m_type = nullptr;
    PyObject* m_value = nullptr;
    PyObject* m_traceback = nullptr;
};
