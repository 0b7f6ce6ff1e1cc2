// The interface of the element types of storage buffers.
#pragma once

#include "module/python.h"

#include "kz/base/codes.h"

#include <cstddef>

class CStorageBuffer;

// One for each element type, shared by all buffers. Results that are Python objects are new references, null with an
// exception set; codes are failures with or without an exception set.
class StorageType {
public:
    virtual std::size_t elementSize() const noexcept = 0;  // bytes
    // Writes the items of a sequence of exactly `count` from element `start` on. On failure, items before the one that does
    // not convert stay written.
    virtual KzResult fill(CStorageBuffer& buffer, PyObject* sequence, std::size_t start, std::size_t count) const = 0;
    virtual PyObject* readRange(const CStorageBuffer& buffer, std::size_t start, std::size_t count) const = 0;
    virtual PyObject* readElement(const CStorageBuffer& buffer, std::size_t index) const = 0;
    virtual KzResult writeElement(CStorageBuffer& buffer, PyObject* value, std::size_t index) const = 0;
    // The letters that the struct module has for elements that look the same in memory, if they have the same size. The
    // last one is that of exported memory.
    virtual const char* formats() const noexcept = 0;
};
