// Which host interfaces a Python class implements, and the factory that follows from them. Everything here needs the
// interpreter lock.
#pragma once

#include "serve/python_polymorph.h"

// Marks a class as the base class that stands for an interface. Throws INVALIDARG for a name that no adapter has.
void kzMarkInterfaceBase(PyObject* pythonClass, const char* interfaceName);

// The factory for a class with a meta object, which may be None: made on the first call for the pair, and the same one
// ever after. Throws INVALIDARG for a class that implements no interface, FAILED for what is no class and for sub-servers
// that are badly given.
CKzPythonPolymorph& kzPolymorphFor(PyObject* pythonClass, PyObject* meta);

// Lets go of all classes and meta objects, at the end of the interpreter.
void kzReleaseClasses();
