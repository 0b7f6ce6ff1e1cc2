// How the host asks one Python object to take over from another.
#pragma once

#include "module/py_ref.h"

#include "kz/base/polymorph.h"

// An object with the interface Inheritor for the instance `data` of that class: its `Inherit` calls the instance's
// method "inherit" with the other object's instance, which `instanceOf` finds. It keeps the instance alive. May throw a
// KzResult.
using KzInstanceOf = PyObject* (*)(IKzUnknown* object) noexcept;
IKzUnknown* kzMakeInheritor(CKzGenericPolymorph& polymorph, void* data, KzInstanceOf instanceOf);
