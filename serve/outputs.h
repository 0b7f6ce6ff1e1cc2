// What a Python method returned, stored where the host wants it.
#pragma once

#include "serve/relay.h"

// Converts the returned value for the outputs that the letters name and stores them; nothing is stored unless all of
// them convert. Where one does not, `failed` is its index, or -1 for a tuple that does not fit as a whole, and an exception
// may be pending that says why. No letters: the value does not matter.
KzResult kzStoreOutputs(PyObject* returned, const char* letters, const KzWord* places, int& failed) noexcept;

// Whether the host has given a place for every output.
bool kzHavePlaces(const char* letters, const KzWord* places) noexcept;
// Stores zeros, empty texts and null pointers. All places are there.
void kzClearOutputs(const char* letters, const KzWord* places) noexcept;
