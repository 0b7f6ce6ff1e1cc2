// RAII guard that sets the pending Python exception aside while code runs that must not see it.
#pragma once

#include "module/python.h"

// Anything that may run Python code, such as a call to the host or the release of a host object, needs this guard if an
// exception may be pending: otherwise that code would seem to raise it. An exception that is raised inside the scope is
// replaced by the one that was set aside.
class CPendingException {
public:
    CPendingException() noexcept {
        // Tested inline, because this is on the path of every call that the host makes.
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
