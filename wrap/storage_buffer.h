// The memory behind a kz.Storage object: a typed, growable array of machine values. The marshallers pass it to the
// host; kzmod has its Python type.
#pragma once

#include "module/python.h"

#include "kz/base/codes.h"

#include <cstddef>
#include <memory>
#include <vector>

class StorageType;

// The elements are contiguous and in machine byte order. They are accessed by index only, and each access looks the
// memory up again, because conversions run Python code that may change the buffer.
class CStorageBuffer {
public:
    CStorageBuffer() = default;
    CStorageBuffer(const CStorageBuffer&) = delete;
    CStorageBuffer& operator=(const CStorageBuffer&) = delete;

    // Makes the buffer refer to borrowed memory. `extent` is its size in bytes, SIZE_MAX if unknown.
    void refer(void* memory, std::size_t extent, const StorageType* type, std::size_t elements) noexcept;

    const StorageType* type() const noexcept { return m_type; }
    void* memory() const noexcept { return m_memory.get(); }
    std::size_t size() const noexcept { return m_size; }  // elements
    std::size_t offset() const noexcept { return m_offset; }
    bool owned() const noexcept { return m_isOwned; }
    bool writable() const noexcept { return m_isWritable; }
    void setWritable(bool writable) noexcept { m_isWritable = writable; }

    // Changes the element type; the number of elements stays. False, with nothing changed, if memory is short or fixed.
    bool setType(const StorageType& type) noexcept;
    // Changes the number of elements. Contents that fit are kept, memory never shrinks, and borrowed memory is never
    // reallocated. False, with nothing changed, if memory is short or fixed.
    bool resize(std::size_t elements) noexcept { return resize(elements, Room::exact); }
    // As resize, but reserves room for as much again if possible, so that appending takes amortised constant time.
    bool grow(std::size_t elements) noexcept { return resize(elements, Room::spare); }
    bool setOffset(std::size_t offset) noexcept;  // false past the end
    // Restores the size and offset, which were valid before, after a step that failed.
    void restore(std::size_t size, std::size_t offset) noexcept;

    // The address of the element; null if it is out of bounds or beyond the known extent of borrowed memory.
    void* at(std::size_t index) const noexcept;
    // The number of bytes from the start that may be read.
    std::size_t readableBytes() const noexcept;

    // While the buffer is pinned, memory that is replaced is kept, until the last pin is removed.
    void pin() noexcept { ++m_pins; }
    void unpin() noexcept;

    // While memory is exported, it stays where it is: a step that needs other memory fails. Who reads through the
    // interpreter's old buffer interface never says that it is done, and so never ends its export.
    void beginExport() noexcept { ++m_exports; }
    void endExport() noexcept { --m_exports; }
    bool fixed() const noexcept { return m_exports != 0 && m_memory != nullptr; }

    // Replaces calloc, so that tests can make it fail. New memory must be zeroed, so that scripts never see what the
    // process had there before; calloc does that without touching large memory before it is used.
    using Allocate = void* (*)(std::size_t count, std::size_t size);
    static void setAllocate(Allocate allocate) noexcept;

private:
    enum class Room { exact, spare };
    bool resize(std::size_t elements, Room room) noexcept;
    bool reserve(const StorageType& type, std::size_t elements, Room room) noexcept;
    bool allocate(std::size_t bytes) noexcept;
    void clampOffset() noexcept;

    std::shared_ptr<void> m_memory;
    const StorageType* m_type = nullptr;
    std::size_t m_size = 0;
    std::size_t m_offset = 0;    // in elements, at most the size
    std::size_t m_capacity = 0;  // bytes: those allocated, or the extent of borrowed memory
    bool m_isOwned = true;
    bool m_isWritable = true;
    std::size_t m_pins = 0;
    std::size_t m_exports = 0;
    std::vector<std::shared_ptr<void>> m_formerMemory;
};

// The Python object's layout.
struct KzStorage {
    PyObject_HEAD CStorageBuffer* buffer;
};

// Registers the type kz.Storage. Call it before any of the following.
void kzSetStorageType(PyTypeObject& type) noexcept;
// The registered type; null if there is none yet.
PyTypeObject* kzStorageTypeObject() noexcept;

// Whether the object's very type is kz.Storage; an instance of a subclass is not.
bool kzIsStorage(PyObject* object) noexcept;

// The buffer of an object for which kzIsStorage holds.
inline CStorageBuffer& kzStorageBuffer(PyObject* storage) noexcept {
    return *reinterpret_cast<KzStorage*>(storage)->buffer;
}

// Pins the storage and returns the start of its memory, null if there is none. Object and memory stay valid until the
// storage is unpinned, whatever Python does to it.
void* kzPinStorage(PyObject* storage) noexcept;
void kzUnpinStorage(PyObject* storage) noexcept;

// Detaches a view from memory that is about to become invalid. The view is an empty storage from then on.
void kzEndStorageView(PyObject* storage) noexcept;
