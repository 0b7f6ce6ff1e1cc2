// Slices of kz.Storage, which move elements in bulk.
#pragma once

#include "kzmod/call.h"
#include "module/py_ref.h"
#include "wrap/storage_buffer.h"

// The items to assign to a storage. Those of a storage are a copy, because it may be assigned to itself.
CPyRef kzStorageItems(PyObject* sequence);

// A new kz.Storage with the elements of a slice, counted from the offset on, and with memory of its own.
PyObject* kzStorageSlice(CCall& call, const CStorageBuffer& buffer, PyObject* slice);

// Assigns as many elements as the slice has, all or none of them: the memory of the source if its elements look the same
// there, and otherwise the items of a sequence. False, with an exception noted or a code thrown, if nothing was assigned.
bool kzAssignStorageSlice(CCall& call, CStorageBuffer& buffer, PyObject* slice, PyObject* source);
