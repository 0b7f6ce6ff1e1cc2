// The functions of kz that turn Python classes into servers of the host, and the hooks of serve/ for the other parts.
#pragma once

#include "wrap/wrapper.h"

// kz.bless and kz.testifc.
extern const char kzBlessDoc[];
extern const char kzTestifcDoc[];
PyObject* kzBlessFunction(PyObject* self, PyObject* args);
PyObject* kzTestifcFunction(PyObject* self, PyObject* args);

// Adds the module "_kzserv", with which the package kzserv checks what server files bless. Throws FAILED.
void kzAddServingModule();

// The functions with which the wrappers serve any Python object to the host, and find it again.
KzServing kzPythonServing() noexcept;

// Releases all Python objects that the servers own. Runs before the interpreter is finalised, with its lock held.
void kzReleaseServers();
// Clears cached pointers and releases host services, after finalisation.
void kzForgetServers() noexcept;
