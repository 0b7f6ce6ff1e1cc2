// Slices of kz.Storage.
#include "kzmod/storage_slice.h"

#include "module/checks.h"
#include "wrap/element_type.h"

#include "kz/result.h"

#include <bit>
#include <cstring>
#include <vector>

namespace {

// Where the elements of a slice are in memory.
struct Place {
    std::byte* first = nullptr;
    std::ptrdiff_t stride = 0;  // bytes
    std::size_t count = 0;
};

// Finds the elements of a slice. The bounds are looked up last, because an index of the slice may run Python code.
bool find(CCall& call, const CStorageBuffer& buffer, PyObject* slice, Place& place) {
    Py_ssize_t start = 0, stop = 0, step = 0, count = 0;
    const auto rest = static_cast<Py_ssize_t>(buffer.size() - buffer.offset());
    kzNonNegative(PySlice_GetIndicesEx(reinterpret_cast<PySliceObject*>(slice), rest, &start, &stop, &step, &count));
    if (count == 0) return true;
    const auto at = [&](Py_ssize_t index) { return buffer.at(buffer.offset() + static_cast<std::size_t>(index)); };
    place.first = static_cast<std::byte*>(at(start));
    if (place.first == nullptr || at(start + (count - 1) * step) == nullptr)
        return call.fail("Out of bounds", PyExc_IndexError) != nullptr;
    place.count = static_cast<std::size_t>(count);
    // The step of a single element may be any number.
    place.stride = count > 1 ? step * static_cast<std::ptrdiff_t>(buffer.type()->elementSize()) : 0;
    return true;
}

bool makeRoom(CCall& call, CStorageBuffer& buffer, const StorageType& type, std::size_t count) {
    buffer.setType(type);
    return count == 0 || buffer.resize(count) || call.fail("Allocation failied", PyExc_MemoryError) != nullptr;
}

// Calls copy(memory of the slice, memory of the element, bytes) for each element, or once for all that are contiguous.
template <class Copy> void copyEach(const Place& place, const CStorageBuffer& elements, Copy copy) {
    if (place.count == 0) return;
    const std::size_t width = elements.type()->elementSize();
    auto* element = static_cast<std::byte*>(elements.memory());
    if (place.stride == static_cast<std::ptrdiff_t>(width)) return copy(place.first, element, place.count * width);
    for (std::size_t i = 0; i < place.count; ++i)
        copy(place.first + static_cast<std::ptrdiff_t>(i) * place.stride, element + i * width, width);
}

// The memory of an object that has the buffer interface.
class CSourceView {
public:
    explicit CSourceView(PyObject* source) noexcept {
        m_isOpen = PyObject_CheckBuffer(source) && PyObject_GetBuffer(source, &m_view, PyBUF_FULL_RO) == 0;
        PyErr_Clear();
    }
    ~CSourceView() {
        if (m_isOpen) PyBuffer_Release(&m_view);
    }
    CSourceView(const CSourceView&) = delete;
    CSourceView& operator=(const CSourceView&) = delete;

    std::size_t count() const noexcept { return static_cast<std::size_t>(m_view.len / m_view.itemsize); }
    // In the order of nested sequences. The interpreter's PyBuffer_ToContiguous would begin with the second element.
    void copyTo(void* memory) {
        if (PyBuffer_IsContiguous(&m_view, 'C') != 0) {
            if (m_view.len > 0) std::memcpy(memory, m_view.buf, static_cast<std::size_t>(m_view.len));
            return;
        }
        const auto width = static_cast<std::size_t>(m_view.itemsize);
        auto* to = static_cast<std::byte*>(memory);
        std::vector<Py_ssize_t> index(static_cast<std::size_t>(m_view.ndim));
        for (std::size_t left = count(); left > 0; --left, to += width) {
            std::memcpy(to, PyBuffer_GetPointer(&m_view, index.data()), width);
            for (std::size_t axis = index.size(); axis-- > 0; index[axis] = 0)
                if (++index[axis] < m_view.shape[axis]) break;
        }
    }
    // Whether its elements look in memory like those of the type.
    bool matches(const StorageType& type) const noexcept {
        const auto width = static_cast<Py_ssize_t>(type.elementSize());
        if (!m_isOpen || m_view.itemsize != width || m_view.len % width != 0) return false;
        const char* format = m_view.format != nullptr ? m_view.format : "B";
        constexpr char ownOrder = std::endian::native == std::endian::little ? '<' : '>';
        if (*format == '@' || *format == '=' || *format == ownOrder) ++format;
        return *format != '\0' && format[1] == '\0' && std::strchr(type.formats(), *format) != nullptr;
    }

private:
    Py_buffer m_view{};
    bool m_isOpen = false;
};

// Converts what is to be assigned, away from the storage, which the conversion may change.
bool gather(CCall& call, const StorageType& type, PyObject* source, CStorageBuffer& elements) {
    CSourceView view(source);
    if (view.matches(type)) {
        if (!makeRoom(call, elements, type, view.count())) return false;
        view.copyTo(elements.memory());
        return true;
    }
    if (!PySequence_Check(source)) return call.fail("Expected a sequence") != nullptr;
    const CPyRef items = kzStorageItems(source);
    const auto count = static_cast<std::size_t>(kzNonNegative(PySequence_Size(items)));
    if (!makeRoom(call, elements, type, count)) return false;
    if (const KzResult code = type.fill(elements, items, 0, count); kzFailed(code)) throw code;
    return true;
}

}  // namespace

CPyRef kzStorageItems(PyObject* sequence) {
    if (!PyObject_TypeCheck(sequence, kzStorageTypeObject())) return CPyRef(sequence);
    const CStorageBuffer& source = kzStorageBuffer(sequence);
    if (source.type() == nullptr) return CPyRef(PyTuple_New(0), CPyRef::owned);
    return CPyRef(source.type()->readRange(source, 0, source.size()), CPyRef::owned);
}

PyObject* kzStorageSlice(CCall& call, const CStorageBuffer& buffer, PyObject* slice) {
    PyTypeObject* type = kzNonNull(kzStorageTypeObject());
    CPyRef result(type->tp_new(type, nullptr, nullptr), CPyRef::owned);
    CStorageBuffer& copy = kzStorageBuffer(result);
    Place place;
    if (!find(call, buffer, slice, place)) return nullptr;
    if (buffer.type() != nullptr) {
        if (!makeRoom(call, copy, *buffer.type(), place.count)) return nullptr;
        copyEach(place, copy, [](const void* from, void* to, std::size_t bytes) { std::memcpy(to, from, bytes); });
    }
    return result.release();
}

bool kzAssignStorageSlice(CCall& call, CStorageBuffer& buffer, PyObject* slice, PyObject* source) {
    const StorageType* type = buffer.type();
    if (type == nullptr) return call.fail("Storage data type not set") != nullptr;
    CStorageBuffer elements;
    Place place;
    if (!gather(call, *type, source, elements) || !find(call, buffer, slice, place)) return false;
    if (buffer.type() != type) return call.fail("Out of bounds", PyExc_IndexError) != nullptr;
    if (place.count != elements.size())
        return call.fail(kzFormat("A slice of %s elements cannot take %s", std::to_string(place.count),
                                  std::to_string(elements.size())),
                         PyExc_ValueError) != nullptr;
    copyEach(place, elements, [](void* to, const void* from, std::size_t bytes) { std::memcpy(to, from, bytes); });
    return true;
}
