// Addresses that Python methods answer: what may stand for one, and how the memory behind it is kept.
#pragma once

#include "module/python.h"

#include "kz/base/codes.h"

// The address that a method answered for a `pointer` output: none for None and 0, the memory of a kz.Storage, which stays
// where it is from then on, or an integer. INVALIDARG for an integer at which no memory can be, FAILED for other objects;
// an exception that says why is set with either.
KzResult kzReadAddress(PyObject* value, void*& address) noexcept;

// As above for hints, which may also be a dictionary from integers to texts or a sequence of (integer, text) pairs. Their
// table is kept, as the texts of methods are, for as long as the interpreter lives.
KzResult kzReadHints(PyObject* value, void*& address) noexcept;
