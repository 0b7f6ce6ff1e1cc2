// Modules that create their attributes on first use.
#pragma once

#include "module/py_ref.h"

#include <functional>

// The attributes of such a module. `find` is called for each missing name, so it may take as long as creating a few
// dozen objects, but not as long as creating all of them.
struct KzLazyNames {
    // A new reference to the attribute; null, without an exception, if there is none of that name. Throws FAILED.
    PyObject* (*find)(const char* name);
    // Calls back with each name and a new reference to its attribute, null if that could not be created. If a name
    // comes twice, the later attribute counts.
    void (*makeAll)(const std::function<void(const char* name, PyObject* value)>& take);
};

// Creates the module `parent`.`name`, registers it as imported and adds it to its parent. Code that reads its
// dictionary or lists its names finds all attributes there. Throws FAILED.
PyObject* kzAddLazyModule(PyObject* parent, const char* name, const KzLazyNames& names);
