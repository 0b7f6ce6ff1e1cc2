// The host interfaces that a Python class implements, and the polymorph made from them. Everything here needs the
// interpreter lock.
#pragma once

#include "serve/python_polymorph.h"

// Throws FAILED unless the object is a new-style class. The reason goes to `why`, which may be null.
void kzRequireClass(PyObject* object, std::string* why);

// Marks a class as the base class that stands for an interface. Throws INVALIDARG if there is no adapter of that name.
void kzMarkInterfaceBase(PyObject* pythonClass, const char* interfaceName);

// The polymorph for a class and a meta object, which may be None. The first call for a pair makes it; later calls return
// the same one. Throws INVALIDARG for a class that implements no interface, and FAILED for an object that is not a class
// and for malformed sub-servers. The reason goes to `why`, which may be null.
CKzPythonPolymorph& kzPolymorphFor(PyObject* pythonClass, PyObject* meta, std::string* why = nullptr);

// The name of the polymorph's first interface, for messages.
std::string kzFirstInterfaceName(const CKzPythonPolymorph& polymorph);

// All polymorphs that have been made.
std::vector<const CKzPythonPolymorph*> kzPythonPolymorphs();

// Releases all classes and meta objects, at the end of the interpreter.
void kzReleaseClasses();
