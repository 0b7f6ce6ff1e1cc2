// The element types of storage buffers: how each is read from and written to memory.
#pragma once

#include "wrap/element_type.h"

// By letter: f and d (float and double), i and u (32-bit, signed and unsigned), b (byte), p (pointer). Null for others.
const StorageType* kzFindStorageType(char letter) noexcept;
// The one with letter b.
bool kzIsByteType(const StorageType* type) noexcept;

// A new storage object on memory that it does not own. With an element type's letter the memory is known to hold that
// many elements; without (0) its extent is the host's business, and scripts set the type and size and may not assign to
// it as a whole. Null memory makes an empty storage of its own. Null with an exception set on failure.
PyObject* kzNewStorageView(void* memory, std::size_t elements, char letter) noexcept;
