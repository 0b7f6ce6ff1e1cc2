// The element types of storage buffers: how each is read from and written to memory.
#pragma once

#include "wrap/element_type.h"

// The type by its letter: f and d (float and double), i and u (32-bit, signed and unsigned), b (byte), p (pointer).
// Null for others.
const StorageType* kzFindStorageType(char letter) noexcept;
// Whether it is the one with letter b.
bool kzIsByteType(const StorageType* type) noexcept;

// A new storage object over borrowed memory. With the letter of an element type, the memory has that many elements.
// With 0 its extent is unknown: scripts set the type and size, and cannot assign to it as a whole. Over null memory,
// the storage is empty and owns its memory. Null with an exception set on failure.
PyObject* kzNewStorageView(void* memory, std::size_t elements, char letter) noexcept;
