// The Python types of the kz module, and what they have in common. Start-up readies kz.Service and kz.Monitor and adds
// them to the module.
#pragma once

#include "wrap/uncopyable.h"

extern PyTypeObject kzServiceType;
extern PyTypeObject kzMonitorType;

// What distinguishes one type from the others.
struct KzTypeRow {
    const char* name;
    const char* doc;
    std::size_t size;
    PyMethodDef* methods;
    KzUncopyable& base;
    newfunc make;
    initproc initialise;
    destructor destroy;

    // The type object, which may be derived from. It has yet to be readied.
    PyTypeObject type() const noexcept {
        PyTypeObject type{};
        Py_REFCNT(&type) = 1;
        type.tp_name = name;
        type.tp_doc = doc;
        type.tp_basicsize = static_cast<Py_ssize_t>(size);
        type.tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE;
        type.tp_methods = methods;
        type.tp_base = &base.type;
        type.tp_new = make;
        type.tp_init = initialise;
        type.tp_dealloc = destroy;
        return type;
    }
};
