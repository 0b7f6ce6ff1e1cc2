// Addresses that Python methods return: which objects may stand for one, and what keeps the memory alive.
#pragma once

#include "module/python.h"

#include "kz/base/codes.h"

// The address that a method has returned for a `pointer` output: null for None and 0, the memory of a kz.Storage, which is
// pinned from then on, or an integer. INVALIDARG for an integer that cannot be an address, FAILED for any other object;
// either sets an exception that says why.
KzResult kzReadAddress(PyObject* value, void*& address) noexcept;

// As above for hints, which may also be a dictionary from integers to texts or a sequence of (integer, text) pairs. Their
// table is never freed while the interpreter lives, just as the texts that methods return.
KzResult kzReadHints(PyObject* value, void*& address) noexcept;
