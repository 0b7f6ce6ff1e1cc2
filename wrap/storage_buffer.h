// The memory behind a kz.Storage object: a typed, growable array of machine values. Argument marshalling passes it to
// the host; its Python type stands above, in kzmod.
#pragma once

#include "module/python.h"

#include "kz/base/codes.h"

#include <cstddef>
#include <memory>
#include <vector>

class StorageType;

// The elements are contiguous, in machine byte order, from the start of the memory on. Elements are read and written by
// index only, and every access looks at the buffer as it is then: conversions run Python code, which may change it.
class CStorageBuffer {
public:
    CStorageBuffer() = default;
    CStorageBuffer(const CStorageBuffer&) = delete;
    CStorageBuffer& operator=(const CStorageBuffer&) = delete;

    // Makes the buffer refer to memory that somebody else owns. `extent` is its size in bytes, SIZE_MAX when unknown.
    void refer(void* memory, std::size_t extent, const StorageType* type, std::size_t elements) noexcept;

    const StorageType* type() const noexcept { return m_type; }
    void* memory() const noexcept { return m_memory.get(); }
    std::size_t size() const noexcept { return m_size; }  // elements
    std::size_t offset() const noexcept { return m_offset; }
    bool owned() const noexcept { return m_owned; }
    bool writable() const noexcept { return m_writable; }
    void setWritable(bool writable) noexcept { m_writable = writable; }

    // Takes another element type for the size that it has. False when memory for it could not be had; nothing has
    // changed then.
    bool setType(const StorageType& type) noexcept;
    // Changes the size. What fits of the contents is kept, memory never shrinks, and memory that is not owned stays as it
    // is. False when memory could not be had; nothing has changed then.
    bool resize(std::size_t elements) noexcept { return resize(elements, Room::exact); }
    // As resize, with room for as much again where memory is to be had: many small appends cost what one large one does.
    bool grow(std::size_t elements) noexcept { return resize(elements, Room::spare); }
    bool setOffset(std::size_t offset) noexcept;  // false past the end
    // Gives the size and offset back after a step that failed; both were valid before.
    void restore(std::size_t size, std::size_t offset) noexcept;

    // Where the element is; null when it is out of bounds or beyond what is known of memory that is not owned.
    void* at(std::size_t index) const noexcept;
    // How many bytes from the start may be read.
    std::size_t readableBytes() const noexcept;

    // While pinned, memory that is replaced is kept until the last pin is gone.
    void pin() noexcept { ++m_pins; }
    void unpin() noexcept;

    // Stands in for calloc, so that a failure can be had on demand. All of the memory is defined, so that nothing of what
    // the process had there before is ever handed out, and large memory is not touched before it is used.
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
    std::size_t m_capacity = 0;  // bytes: those allocated, or the extent of memory that is not owned
    bool m_owned = true;
    bool m_writable = true;
    std::size_t m_pins = 0;
    std::vector<std::shared_ptr<void>> m_replaced;
};

// The Python object's layout.
struct KzStorage {
    PyObject_HEAD CStorageBuffer* buffer;
};

// Tells this side which type is kz.Storage, before any of the following is used.
void kzSetStorageType(PyTypeObject& type) noexcept;
// That type; null before.
PyTypeObject* kzStorageTypeObject() noexcept;

// Whether the object's very type is kz.Storage; an instance of a subclass is not.
bool kzIsStorage(PyObject* object) noexcept;

// The buffer of an object for which kzIsStorage holds.
inline CStorageBuffer& kzStorageBuffer(PyObject* storage) noexcept {
    return *reinterpret_cast<KzStorage*>(storage)->buffer;
}

// The start of the memory, null when there is none. Object and memory stay until the pin is taken back, whatever Python
// does to the storage.
void* kzPinStorage(PyObject* storage) noexcept;
void kzUnpinStorage(PyObject* storage) noexcept;

// Ends a view's use of the memory, when that is about to go away: it is an empty storage of its own from then on.
void kzEndStorageView(PyObject* storage) noexcept;
