// Storing what a Python method has returned in the host's output arguments.
#pragma once

#include "serve/relay.h"

// Converts the returned value to the outputs that the letters describe, and stores them; nothing is stored unless all
// of them convert. If one does not, `failed` is its index, or -1 for a value that is no tuple of the right length, and
// an exception that says why may be pending. Without letters, the value is ignored.
KzResult kzStoreOutputs(PyObject* result, const char* letters, const KzWord* places, int& failedIndex) noexcept;

// Whether the host has passed a non-null pointer for every output.
bool kzHavePlaces(const char* letters, const KzWord* places) noexcept;
// Stores zeros, empty texts and null pointers. No place may be null.
void kzClearOutputs(const char* letters, const KzWord* places) noexcept;
