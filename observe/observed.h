// Makes the methods of types and the functions of modules tell kzCrossingWatch of each call.
//
// The interpreter calls a method of a wrapper by way of the descriptor in the type's dictionary. While somebody watches,
// each descriptor is replaced with one that binds an *observed callable*: a proxy of the bound method, which behaves like it
// in every respect but tells of its calls. So a type that nobody watches is what it always was, and calls cost the same.
#pragma once

#include "module/python.h"

// Which part of the making of an object calls the host.
enum class KzMaking { byNew, byInit };

// Replaces the methods and the constructor of a type that has been readied. Best effort: a method for which there is no
// memory stays as it is.
void kzObserveType(PyTypeObject& type, KzMaking making) noexcept;
// Replaces the functions of the table in the module's dictionary.
void kzObserveFunctions(PyObject* module, const PyMethodDef* functions) noexcept;
