// Which host interfaces a Python class implements, and the factory that follows from them. Everything here needs the
// interpreter lock.
#pragma once

#include "serve/python_polymorph.h"

// Throws FAILED for what is no new-style class, with the reason in `why` where that is wanted.
void kzRequireClass(PyObject* object, std::string* why);

// Marks a class as the base class that stands for an interface. Throws INVALIDARG for a name that no adapter has.
void kzMarkInterfaceBase(PyObject* pythonClass, const char* interfaceName);

// The factory for a class with a meta object, which may be None: made on the first call for the pair, and the same one
// ever after. Throws INVALIDARG for a class that implements no interface, FAILED for what is no class and for sub-servers
// that are badly given, with the reason in `why` where that is wanted.
CKzPythonPolymorph& kzPolymorphFor(PyObject* pythonClass, PyObject* meta, std::string* why = nullptr);

// The name of the interface that is a class's first, for texts.
std::string kzFirstInterfaceName(const CKzPythonPolymorph& polymorph);

// All factories that have been made.
std::vector<const CKzPythonPolymorph*> kzPythonPolymorphs();

// Lets go of all classes and meta objects, at the end of the interpreter.
void kzReleaseClasses();
