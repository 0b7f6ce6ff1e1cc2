// How the host asks one Python object to take over from another.
#pragma once

#include "serve/python_polymorph.h"

// An object with the interface Inheritor for the instance `data` of that class: its `Inherit` calls the instance's
// method "inherit" with the other object's instance. It keeps the instance alive. May throw a KzResult.
IKzUnknown* kzMakeInheritor(CKzPythonPolymorph& polymorph, void* data);
