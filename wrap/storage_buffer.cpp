// The memory behind a kz.Storage object.
#include "wrap/storage_buffer.h"

#include "module/py_ref.h"
#include "wrap/element_type.h"
#include "wrap/result_codes.h"

#include "kz/result.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

CStorageBuffer::Allocate theAllocate = std::calloc;
PyTypeObject* theStorageType = nullptr;

}  // namespace

void CStorageBuffer::setAllocate(Allocate allocate) noexcept {
    theAllocate = allocate != nullptr ? allocate : std::calloc;
}

void CStorageBuffer::refer(void* memory, std::size_t extent, const StorageType* type, std::size_t elements) noexcept {
    m_isOwned = memory == nullptr;
    m_memory = std::shared_ptr<void>(std::shared_ptr<void>(), memory);  // points there and owns nothing
    m_capacity = m_isOwned ? 0 : extent;
    m_type = type;
    m_size = m_isOwned ? 0 : elements;
    m_offset = 0;
}

bool CStorageBuffer::reserve(const StorageType& type, std::size_t elements, Room room) noexcept {
    if (!m_isOwned) return true;
    const std::size_t width = type.elementSize();
    if (elements > SIZE_MAX / width) return false;
    const std::size_t bytes = elements * width;
    if (m_memory && bytes <= m_capacity) return true;
    if (fixed()) return false;
    const bool isToDouble = room == Room::spare && bytes / 2 < m_capacity && m_capacity <= SIZE_MAX / 2;
    return (isToDouble && allocate(m_capacity * 2)) || allocate(bytes);
}

bool CStorageBuffer::allocate(std::size_t bytes) noexcept {
    try {
        std::shared_ptr<void> memory(theAllocate(bytes, 1), std::free);
        if (!memory) return false;
        if (m_memory) std::memcpy(memory.get(), m_memory.get(), std::min(m_capacity, bytes));
        if (m_memory && m_pins != 0) m_formerMemory.push_back(m_memory);
        m_memory.swap(memory);
    } catch (const std::bad_alloc&) {
        return false;
    }
    m_capacity = bytes;
    return true;
}

void CStorageBuffer::clampOffset() noexcept { m_offset = std::min(m_offset, m_size); }

bool CStorageBuffer::setType(const StorageType& type) noexcept {
    if (m_size != 0 && !reserve(type, m_size, Room::exact)) return false;
    m_type = &type;
    return true;
}

bool CStorageBuffer::resize(std::size_t elements, Room room) noexcept {
    if (m_type == nullptr || !reserve(*m_type, elements, room)) return false;
    m_size = elements;
    clampOffset();
    return true;
}

bool CStorageBuffer::setOffset(std::size_t offset) noexcept {
    if (offset > m_size) return false;
    m_offset = offset;
    return true;
}

void CStorageBuffer::restore(std::size_t size, std::size_t offset) noexcept {
    m_size = size;
    m_offset = offset;
    clampOffset();
}

void* CStorageBuffer::at(std::size_t index) const noexcept {
    if (!m_memory || m_type == nullptr || index >= m_size) return nullptr;
    const std::size_t width = m_type->elementSize();
    if (index >= m_capacity / width) return nullptr;
    return static_cast<std::byte*>(m_memory.get()) + index * width;
}

std::size_t CStorageBuffer::readableBytes() const noexcept {
    if (!m_memory || m_type == nullptr) return 0;
    return std::min(m_size, m_capacity / m_type->elementSize()) * m_type->elementSize();
}

void CStorageBuffer::unpin() noexcept {
    if (--m_pins == 0) m_formerMemory.clear();
}

void kzSetStorageType(PyTypeObject& type) noexcept { theStorageType = &type; }

PyTypeObject* kzStorageTypeObject() noexcept { return theStorageType; }

bool kzIsStorage(PyObject* object) noexcept { return theStorageType != nullptr && Py_TYPE(object) == theStorageType; }

void* kzPinStorage(PyObject* storage) noexcept {
    Py_INCREF(storage);
    CStorageBuffer& buffer = kzStorageBuffer(storage);
    buffer.pin();
    return buffer.memory();
}

void kzUnpinStorage(PyObject* storage) noexcept {
    const CPyRefNull reference(storage);  // the one that the pin took
    kzStorageBuffer(storage).unpin();
}

void kzEndStorageView(PyObject* storage) noexcept {
    CStorageBuffer& buffer = kzStorageBuffer(storage);
    if (!buffer.owned()) buffer.refer(nullptr, 0, buffer.type(), 0);
}
