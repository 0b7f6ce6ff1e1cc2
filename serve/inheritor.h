// How the host asks one Python object to take over from another.
#pragma once

#include "module/py_ref.h"

#include "kz/base/polymorph.h"

// Makes an object with the interface Inheritor for the instance `data` of the polymorph. Its `Inherit` passes the Python
// instance of the other object, which `instanceOf` finds, to the instance's method "inherit". The object keeps the
// instance alive. May throw a KzResult.
using KzInstanceOf = PyObject* (*)(IKzUnknown* object) noexcept;
IKzUnknown* kzMakeInheritor(CKzGenericPolymorph& polymorph, void* data, KzInstanceOf instanceOf);
