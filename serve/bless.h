// The functions of kz by which Python classes become servers of the host, and what the rest of the module is given.
#pragma once

#include "wrap/wrapper.h"

// kz.bless and kz.testifc.
extern const char kzBlessDoc[];
extern const char kzTestifcDoc[];
PyObject* kzBlessFunction(PyObject* self, PyObject* args);
PyObject* kzTestifcFunction(PyObject* self, PyObject* args);

// Adds the module "_kzserv", by which the package kzserv looks over what server files bless. Throws FAILED.
void kzAddServingModule();

// How the wrappers serve any Python object to the host, and find it again.
KzServing kzPythonServing() noexcept;

// Drops everything that the servers hold of Python. Runs before the interpreter is finalised, with its lock held.
void kzReleaseServers();
// Forgets what is left, once Python is gone.
void kzForgetServers() noexcept;
