// Addresses that Python methods return. A host dereferences them unchecked, so numbers that cannot be addresses are
// refused.
#include "serve/addresses.h"

#include "wrap/address.h"
#include "wrap/marshal_core.h"
#include "wrap/storage_buffer.h"

#include "kz/result.h"

namespace {

bool isInteger(PyObject* value) noexcept { return PyInt_Check(value) || PyLong_Check(value); }

KzResult readInteger(PyObject* value, void*& address) noexcept {
    address = PyLong_AsVoidPtr(value);
    if (PyErr_Occurred() != nullptr) return KZe_INVALIDARG;
    if (address == nullptr || kzMayBeAddress(address)) return KZe_OK;
    PyErr_Format(PyExc_ValueError, "no memory can be at the address %p", address);
    return KZe_INVALIDARG;
}

// The memory of a storage, which stays pinned for good because nobody knows how long the host uses the address.
void* memoryOf(PyObject* storage) noexcept { return kzPinStorage(storage); }

KzResult wrongType(const char* expected) noexcept {
    PyErr_Format(PyExc_TypeError, "expected %s", expected);
    return KZe_FAILED;
}

}  // namespace

KzResult kzReadAddress(PyObject* value, void*& address) noexcept {
    address = nullptr;
    if (value == Py_None) return KZe_OK;
    if (kzIsStorage(value)) return address = memoryOf(value), KZe_OK;
    return isInteger(value) ? readInteger(value, address) : wrongType("an address, a kz.Storage or None");
}

KzResult kzReadHints(PyObject* value, void*& address) noexcept {
    if (value == Py_None || isInteger(value)) return kzReadAddress(value, address);
    if (!PyDict_Check(value) && !PyList_Check(value) && !PyTuple_Check(value))
        return wrongType("a dictionary, a list of (integer, text) pairs, an address or None");
    CHintTable table;
    const KzResult code = PyDict_Check(value) ? table.read(value) : table.readPairs(value);
    if (code == KZe_INVALIDARG && PyErr_Occurred() == nullptr)
        PyErr_SetString(PyExc_ValueError, "each hint must be a pair of an integer and a text without NUL bytes");
    if (kzFailed(code)) return code;
    address = table.keep();
    return address != nullptr ? KZe_OK : KZe_OUTOFMEMORY;
}
