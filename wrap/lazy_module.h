// Modules whose names are made when they are first asked for.
#pragma once

#include "module/py_ref.h"

#include <functional>

// What such a module holds. The names are looked for each time one is missing, so a search may take as long as making
// a few dozen objects does, but not as long as making all.
struct KzLazyNames {
    // A new reference to what has the name; null, without an exception, when nothing has it. Throws FAILED.
    PyObject* (*find)(const char* name);
    // Calls back with each name and a new reference to what has it, or null where it cannot be made. What comes later
    // takes the place of what came earlier.
    void (*makeAll)(const std::function<void(const char* name, PyObject* made)>& take);
};

// Makes the module `parent`.`name`, imported and in its parent. Whoever asks for its dictionary or lists its names finds
// all of them there. Throws FAILED.
PyObject* kzAddLazyModule(PyObject* parent, const char* name, const KzLazyNames& names);
