// kz.Storage: the Python type of storage buffers.
#include "kzmod/storage_type.h"

#include "kzmod/call.h"
#include "kzmod/storage_export.h"
#include "kzmod/storage_slice.h"
#include "kzmod/types.h"
#include "module/checks.h"
#include "wrap/storage_buffer.h"
#include "wrap/storage_elements.h"

#include "kz/result.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

constexpr const char* noType = "Storage data type not set";
constexpr const char* noSize = "Size must be larger than zero";
constexpr const char* noMemory = "Allocation failied";  // spelled so: tools match the text
constexpr const char* outOfBounds = "Out of bounds";
constexpr const char* isFixed =
    "The storage's memory cannot grow or move, because a memoryview, an array or a buffer uses it";

// Every method clears the quiet flag first, as those of the wrapper types do.
template <class Body> PyObject* storageCall(PyObject* self, Body&& body) noexcept {
    kzSetQuiet(false);
    return kzCall("kz.Storage", [&](CCall& call) -> PyObject* { return body(call, kzStorageBuffer(self)); });
}

bool refuseMemory(CCall& call, const CStorageBuffer& buffer) {
    const bool fixed = buffer.fixed();
    return call.fail(fixed ? isFixed : noMemory, fixed ? PyExc_BufferError : PyExc_MemoryError) != nullptr;
}

bool resize(CCall& call, CStorageBuffer& buffer, std::size_t elements, bool isToGrow = false) {
    if (buffer.type() == nullptr) return call.fail(noType) != nullptr;
    if (elements == 0) return call.fail(noSize) != nullptr;
    return (isToGrow ? buffer.grow(elements) : buffer.resize(elements)) || refuseMemory(call, buffer);
}

bool resizeFromPython(CCall& call, CStorageBuffer& buffer, int elements) {
    return resize(call, buffer, elements > 0 ? static_cast<std::size_t>(elements) : 0);
}

bool setType(CCall& call, CStorageBuffer& buffer, const char* text) {
    const StorageType* type = kzFindStorageType(*text);  // only the first letter counts
    if (type == nullptr) {
        call.fail(kzFormat("Unknown storage type '%s'", std::string(text, *text != '\0' ? 1 : 0)));
        return false;
    }
    return buffer.setType(*type) || refuseMemory(call, buffer);
}

PyObject* storageNew(PyTypeObject* type, PyObject* /*args*/, PyObject* /*keywords*/) {
    return kzPythonEntry([type]() -> PyObject* {
        auto buffer = std::make_unique<CStorageBuffer>();
        PyObject* self = kzNonNull(type->tp_alloc(type, 0));
        reinterpret_cast<KzStorage*>(self)->buffer = buffer.release();
        return self;
    });
}

void storageDealloc(PyObject* self) {
    delete &kzStorageBuffer(self);
    Py_TYPE(self)->tp_free(self);
}

int storageInit(PyObject* self, PyObject* args, PyObject* keywords) {
    kzSetQuiet(false);
    return kzInitCall("kz.Storage", [=](CCall& call) {
        if (!kzRefuseKeywords(self, keywords)) return false;
        const char* type = nullptr;
        int size = 0;
        if (PyArg_ParseTuple(args, "|si", &type, &size) == 0) return kzParseFailed() != nullptr;
        CStorageBuffer& buffer = kzStorageBuffer(self);
        if (type != nullptr && !setType(call, buffer, type)) return false;
        return size == 0 || resizeFromPython(call, buffer, size);
    });
}

PyObject* storageSetType(PyObject* self, PyObject* args) {
    return storageCall(self, [args](CCall& call, CStorageBuffer& buffer) -> PyObject* {
        const char* type = nullptr;
        if (PyArg_ParseTuple(args, "s", &type) == 0) return kzParseFailed();
        if (!setType(call, buffer, type)) return nullptr;
        Py_RETURN_NONE;
    });
}

PyObject* storageSetSize(PyObject* self, PyObject* args) {
    return storageCall(self, [args](CCall& call, CStorageBuffer& buffer) -> PyObject* {
        int size = 0;
        if (PyArg_ParseTuple(args, "i", &size) == 0) return kzParseFailed();
        if (!resizeFromPython(call, buffer, size)) return nullptr;
        Py_RETURN_NONE;
    });
}

// Writes the items from element `start` on and resizes the buffer to fit; appending reserves room for more. A failure
// restores the size but keeps the elements that were written before it.
bool assign(CCall& call, CStorageBuffer& buffer, PyObject* sequence, std::size_t start) {
    const CPyRef items = kzStorageItems(sequence);
    const auto count = static_cast<std::size_t>(kzNonNegative(PySequence_Size(items)));
    const std::size_t size = buffer.size();
    const std::size_t offset = buffer.offset();
    // PySequence_Size may have run Python code that changed the buffer.
    if (start > size) throw KZe_OUTOFBOUNDS;
    if (!resize(call, buffer, start + count, start == size)) return false;
    const StorageType* type = buffer.type();
    const KzResult code = type->fill(buffer, items, start, count);
    if (kzFailed(code)) {
        // Nothing is restored if Python code has changed the type or size meanwhile.
        if (buffer.type() == type && buffer.size() == start + count) buffer.restore(size, offset);
        throw code;
    }
    return true;
}

// Whether the buffer is writable and the object is a sequence.
bool canAssign(CCall& call, const CStorageBuffer& buffer, PyObject* sequence) {
    if (!buffer.writable()) return call.fail("Storage buffer is not writable") != nullptr;
    return PySequence_Check(sequence) || call.fail("Expected a sequence") != nullptr;
}

PyObject* storageSet(PyObject* self, PyObject* args) {
    return storageCall(self, [args](CCall& call, CStorageBuffer& buffer) -> PyObject* {
        PyObject* sequence = nullptr;
        if (PyArg_ParseTuple(args, "O", &sequence) == 0) return kzParseFailed();
        if (!canAssign(call, buffer, sequence) || !assign(call, buffer, sequence, buffer.offset())) return nullptr;
        Py_RETURN_NONE;
    });
}

PyObject* storageAppend(PyObject* self, PyObject* sequence) {
    return storageCall(self, [=](CCall& call, CStorageBuffer& buffer) -> PyObject* {
        if (!canAssign(call, buffer, sequence) || !assign(call, buffer, sequence, buffer.size())) return nullptr;
        Py_INCREF(self);
        return self;
    });
}

PyObject* storageGet(PyObject* self, PyObject* args) {
    return storageCall(self, [args](CCall& call, CStorageBuffer& buffer) -> PyObject* {
        if (buffer.type() == nullptr) return call.fail("Unknown storage type");
        int count = 0;
        if (PyArg_ParseTuple(args, "|i", &count) == 0) return kzParseFailed();
        const std::size_t rest = buffer.size() - buffer.offset();
        const bool all = PyTuple_GET_SIZE(args) == 0;
        const std::size_t length = all ? rest : static_cast<std::size_t>(std::max(count, 0));
        return buffer.type()->readRange(buffer, buffer.offset(), std::min(length, rest));
    });
}

PyObject* storageString(PyObject* self, PyObject* args) {
    return storageCall(self, [args](CCall& call, CStorageBuffer& buffer) -> PyObject* {
        if (PyArg_ParseTuple(args, "") == 0) return kzParseFailed();
        if (!kzIsByteType(buffer.type())) return call.fail("Not a byte buffer");
        const auto* text = static_cast<const char*>(buffer.memory());
        if (text == nullptr || buffer.size() == 0) return PyString_FromString("");
        const std::size_t length = strnlen(text, buffer.readableBytes());
        if (length == buffer.readableBytes()) return call.fail("String buffer is unterminated");
        return PyString_FromStringAndSize(text, static_cast<Py_ssize_t>(length));
    });
}

PyObject* storageSize(PyObject* self, PyObject* args) {
    return storageCall(self, [args](CCall&, CStorageBuffer& buffer) -> PyObject* {
        if (PyArg_ParseTuple(args, "") == 0) return kzParseFailed();
        return PyInt_FromSize_t(buffer.size());
    });
}

PyObject* storageOffset(PyObject* self, PyObject* args) {
    return storageCall(self, [args](CCall& call, CStorageBuffer& buffer) -> PyObject* {
        int offset = -1;
        if (PyArg_ParseTuple(args, "|i", &offset) == 0) return kzParseFailed();
        // Required behaviour: this returns the size rather than the offset, which tells scripts the largest offset.
        if (offset < 0) return PyInt_FromSize_t(buffer.size());
        if (!buffer.setOffset(static_cast<std::size_t>(offset))) return call.fail("Can't offset past end of buffer");
        Py_RETURN_NONE;
    });
}

Py_ssize_t storageLength(PyObject* self) { return static_cast<Py_ssize_t>(kzStorageBuffer(self).size()); }

// Finds the element at an index. False, with an IndexError noted, if there is none.
bool findElement(CCall& call, const CStorageBuffer& buffer, Py_ssize_t index, std::size_t& element) {
    element = buffer.offset() + static_cast<std::size_t>(index);
    if (index >= 0 && static_cast<std::size_t>(index) < buffer.size() && element < buffer.size() &&
        buffer.at(element) != nullptr)
        return true;
    call.fail(outOfBounds, PyExc_IndexError);
    return false;
}

PyObject* storageItem(PyObject* self, Py_ssize_t index) {
    return storageCall(self, [index](CCall& call, CStorageBuffer& buffer) -> PyObject* {
        std::size_t element = 0;
        return findElement(call, buffer, index, element) ? buffer.type()->readElement(buffer, element) : nullptr;
    });
}

// Unlike whole assignment, this does not require a writable buffer: borrowed memory of the host is edited in place.
int storageSetItem(PyObject* self, Py_ssize_t index, PyObject* value) {
    kzSetQuiet(false);
    return kzInitCall("kz.Storage", [=](CCall& call) {
        CStorageBuffer& buffer = kzStorageBuffer(self);
        std::size_t element = 0;
        if (value == nullptr) return call.fail("Storage elements cannot be deleted", PyExc_TypeError) != nullptr;
        if (!findElement(call, buffer, index, element)) return false;
        kzSucceed(buffer.type()->writeElement(buffer, value, element));
        return true;
    });
}

// The elements as they are now: the interpreter's own way would start at the size, whatever the offset is.
PyObject* storageReversed(PyObject* self, PyObject* /*none*/) {
    return storageCall(self, [](CCall& call, CStorageBuffer& buffer) -> PyObject* {
        const CPyRef backward(PyInt_FromLong(-1), CPyRef::owned),
            all(PySlice_New(nullptr, nullptr, backward), CPyRef::owned);
        const CPyRefNull elements(kzStorageSlice(call, buffer, all));
        return elements.get() != nullptr ? PySeqIter_New(elements) : nullptr;
    });
}

PyMethodDef storageMethods[] = {
    {"setType", storageSetType, METH_VARARGS,
     "Set the element type for buffer: float, double, int, byte, unsigned, pointer"},
    {"setSize", storageSetSize, METH_VARARGS, "Set the number of elements in the buffer"},
    {"set", storageSet, METH_VARARGS, "Assign a tuple to fill the buffer"},
    {"get", storageGet, METH_VARARGS,
     "Read out the contents of the buffer as a tuple, either the full length or the specified length"},
    {"string", storageString, METH_VARARGS, "Read out the contents of the buffer as a string"},
    {"size", storageSize, METH_VARARGS, "Return the size of the buffer"},
    {"offset", storageOffset, METH_VARARGS, "Set or read the offset in the buffer"},
    {"__reversed__", storageReversed, METH_NOARGS, "Iterate from the last element to the one at the offset"},
    {nullptr, nullptr, 0, nullptr},
};

// Subscripts go through the mapping slots, because the interpreter adds the length to a negative index of a sequence.
bool indexOf(PyObject* key, Py_ssize_t& index) {
    if (PyIndex_Check(key) == 0) {
        PyErr_Format(PyExc_TypeError, "kz.Storage indices must be integers or slices, not %.200s",
                     Py_TYPE(key)->tp_name);
        return false;
    }
    index = PyNumber_AsSsize_t(key, nullptr);  // clipped if it is too large, which is out of bounds as well
    return index != -1 || PyErr_Occurred() == nullptr;
}

PyObject* storageSubscript(PyObject* self, PyObject* key) {
    if (PySlice_Check(key))
        return storageCall(self,
                           [key](CCall& call, CStorageBuffer& buffer) { return kzStorageSlice(call, buffer, key); });
    Py_ssize_t index = 0;
    return indexOf(key, index) ? storageItem(self, index) : nullptr;
}

int storageSetSubscript(PyObject* self, PyObject* key, PyObject* value) {
    Py_ssize_t index = 0;
    if (PySlice_Check(key) && value != nullptr) {
        kzSetQuiet(false);
        return kzInitCall("kz.Storage",
                          [=](CCall& call) { return kzAssignStorageSlice(call, kzStorageBuffer(self), key, value); });
    }
    if (PySlice_Check(key)) return storageSetItem(self, 0, nullptr);
    return indexOf(key, index) ? storageSetItem(self, index, value) : -1;
}

PySequenceMethods sequence{
    .sq_length = storageLength,
    .sq_concat = nullptr,
    .sq_repeat = nullptr,
    .sq_item = storageItem,
    .sq_slice = nullptr,
    .sq_ass_item = storageSetItem,
    .sq_ass_slice = nullptr,
    .sq_contains = nullptr,
    .sq_inplace_concat = storageAppend,
    .sq_inplace_repeat = nullptr,
};

PyMappingMethods mapping{storageLength, storageSubscript, storageSetSubscript};

KzUncopyable uncopyableStorage("to copy the elements: copy = kz.Storage(type, size); copy.set(storage.get())");

PyTypeObject describe() noexcept {
    PyTypeObject type = KzTypeRow{"kz.Storage",      "Storage objects", sizeof(KzStorage), storageMethods,
                                  uncopyableStorage, storageNew,        storageInit,       storageDealloc}
                            .type();
    type.tp_as_sequence = &sequence;
    type.tp_as_mapping = &mapping;
    type.tp_as_buffer = &kzStorageExports;
    type.tp_flags |= Py_TPFLAGS_HAVE_NEWBUFFER;
    return type;
}

}  // namespace

PyTypeObject kzStorageType = describe();
void kzReadyStorageType() {
    kzNonNegative(PyType_Ready(&kzStorageType));
    kzSetStorageType(kzStorageType);
}
