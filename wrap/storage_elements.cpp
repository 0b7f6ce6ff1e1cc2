// The element types of storage buffers.
#include "wrap/storage_elements.h"

#include "module/py_ref.h"
#include "wrap/result_codes.h"
#include "wrap/storage_buffer.h"

#include "kz/result.h"

#include <cstdint>
#include <cstring>

namespace {

PyObject* toPython(float value) { return PyFloat_FromDouble(value); }
PyObject* toPython(double value) { return PyFloat_FromDouble(value); }
PyObject* toPython(std::int32_t value) { return PyInt_FromLong(value); }
PyObject* toPython(std::uint8_t value) { return PyInt_FromLong(value); }
PyObject* toPython(std::uint32_t value) { return PyLong_FromUnsignedLong(value); }
// Always a long, even for small addresses.
PyObject* toPython(void* value) { return PyLong_FromUnsignedLongLong(reinterpret_cast<std::uintptr_t>(value)); }

// May run Python code. An exception is set if the object cannot be converted.
void fromPython(PyObject* object, double& value) { value = PyFloat_AsDouble(object); }
void fromPython(PyObject* object, float& value) { value = static_cast<float>(PyFloat_AsDouble(object)); }
void fromPython(PyObject* object, std::int32_t& value) { value = static_cast<std::int32_t>(PyInt_AsLong(object)); }
void fromPython(PyObject* object, std::uint8_t& value) { value = static_cast<std::uint8_t>(PyInt_AsLong(object)); }
void fromPython(PyObject* object, std::uint32_t& value) {
    value = static_cast<std::uint32_t>(PyInt_AsUnsignedLongMask(object));
}
void fromPython(PyObject* object, void*& value) {
    if (PyInt_Check(object) || PyLong_Check(object)) value = PyLong_AsVoidPtr(object);
    else PyErr_SetString(PyExc_TypeError, "an integer is required");
}

template <class Element> class StorageTypeImpl final : public StorageType {
public:
    explicit constexpr StorageTypeImpl(const char* formats) noexcept : m_formats(formats) {}

    const char* formats() const noexcept override { return m_formats; }
    std::size_t elementSize() const noexcept override { return sizeof(Element); }

    KzResult fill(CStorageBuffer& buffer, PyObject* sequence, std::size_t start, std::size_t count) const override {
        if (PySequence_Size(sequence) != static_cast<Py_ssize_t>(count)) return KZe_FAILED;
        for (std::size_t index = 0; index < count; ++index) {
            const CPyRefNull item(PySequence_GetItem(sequence, static_cast<Py_ssize_t>(index)));
            if (item.get() == nullptr) return KZe_FAILED;
            if (const KzResult code = writeElement(buffer, item, start + index); kzFailed(code)) return code;
        }
        return KZe_OK;
    }

    PyObject* readRange(const CStorageBuffer& buffer, std::size_t start, std::size_t count) const override {
        CPyRefNull tuple(PyTuple_New(static_cast<Py_ssize_t>(count)));
        if (tuple.get() == nullptr) return nullptr;
        for (std::size_t index = 0; index < count; ++index) {
            PyObject* element = readElement(buffer, start + index);
            if (element == nullptr) return nullptr;
            PyTuple_SET_ITEM(tuple.get(), static_cast<Py_ssize_t>(index), element);
        }
        return tuple.release();
    }

    PyObject* readElement(const CStorageBuffer& buffer, std::size_t index) const override {
        Element element;
        const void* place = placeOf(buffer, index);
        if (place == nullptr) {
            PyErr_SetString(PyExc_IndexError, "Out of bounds");
            return nullptr;
        }
        std::memcpy(&element, place, sizeof element);
        return toPython(element);
    }

    KzResult writeElement(CStorageBuffer& buffer, PyObject* value, std::size_t index) const override {
        Element element{};
        fromPython(value, element);
        if (PyErr_Occurred() != nullptr) return KZe_FAILED;
        // Looked up only now, because the conversion may have changed the buffer.
        void* place = placeOf(buffer, index);
        if (place == nullptr) return KZe_OUTOFBOUNDS;
        std::memcpy(place, &element, sizeof element);
        return KZe_OK;
    }

private:
    // Also null if the type of the buffer has been changed meanwhile.
    void* placeOf(const CStorageBuffer& buffer, std::size_t index) const {
        return buffer.type() == this ? buffer.at(index) : nullptr;
    }

    const char* m_formats;
};

const StorageTypeImpl<float> floatType("f");
const StorageTypeImpl<std::int32_t> intType("li");
const StorageTypeImpl<std::uint8_t> byteType("B");
const StorageTypeImpl<double> doubleType("d");
const StorageTypeImpl<std::uint32_t> unsignedType("LI");
const StorageTypeImpl<void*> pointerType("LPQ");

struct LetterRow {
    char letter;
    const StorageType* type;
};

constexpr LetterRow letterRows[] = {
    {'f', &floatType}, {'i', &intType}, {'b', &byteType}, {'d', &doubleType}, {'u', &unsignedType}, {'p', &pointerType},
};

}  // namespace

const StorageType* kzFindStorageType(char letter) noexcept {
    for (const LetterRow& row : letterRows)
        if (row.letter == letter) return row.type;
    return nullptr;
}

bool kzIsByteType(const StorageType* type) noexcept { return type == &byteType; }

PyObject* kzNewStorageView(void* memory, std::size_t elements, char letter) noexcept {
    PyTypeObject* storage = kzStorageTypeObject();
    if (storage == nullptr) return kzRaise(KZe_NOTREADY);
    CPyRefNull view(storage->tp_new(storage, nullptr, nullptr));
    if (view.get() == nullptr) return nullptr;
    const StorageType* type = kzFindStorageType(letter);
    CStorageBuffer& buffer = kzStorageBuffer(view);
    buffer.refer(memory, type != nullptr ? elements * type->elementSize() : SIZE_MAX, type,
                 type != nullptr ? elements : 0);
    buffer.setWritable(memory == nullptr || type != nullptr);
    return view.release();
}
