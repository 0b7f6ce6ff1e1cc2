// The compiled core of argument marshalling.
#include "wrap/marshal_core.h"

#include "module/checks.h"
#include "module/py_ref.h"
#include "wrap/method_refusal.h"
#include "wrap/refusal.h"
#include "wrap/result_codes.h"
#include "wrap/storage_buffer.h"
#include "wrap/storage_elements.h"

#include "kz/guid.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

namespace {

bool toNumber(PyObject* object, double& number) noexcept {
    number = PyFloat_AsDouble(object);
    return number != -1.0 || PyErr_Occurred() == nullptr;
}

// The item at an index, with a reference: an earlier conversion may have shortened a list.
PyObject* itemOf(PyObject* sequence, Py_ssize_t index) noexcept {
    if (PyTuple_CheckExact(sequence)) {
        PyObject* item = PyTuple_GET_ITEM(sequence, index);
        Py_INCREF(item);
        return item;
    }
    return PySequence_GetItem(sequence, index);
}

bool hasLength(PyObject* sequence, Py_ssize_t count) noexcept {
    if (PyTuple_CheckExact(sequence) || PyList_CheckExact(sequence)) return Py_SIZE(sequence) == count;
    return PySequence_Size(sequence) == count;
}

// The items of a plain tuple or list; null for any other sequence.
PyObject** itemsOf(PyObject* sequence) noexcept {
    if (PyTuple_CheckExact(sequence)) return reinterpret_cast<PyTupleObject*>(sequence)->ob_item;
    if (PyList_CheckExact(sequence)) return reinterpret_cast<PyListObject*>(sequence)->ob_item;
    return nullptr;
}

// Reads the plain floats at the start of a plain tuple or list. No Python code runs meanwhile, so the items cannot
// move.
template <class Number> Py_ssize_t takeFloats(PyObject* sequence, Number* numbers, Py_ssize_t count) noexcept {
    PyObject** items = itemsOf(sequence);
    Py_ssize_t index = 0;
    for (; items != nullptr && index < count && PyFloat_CheckExact(items[index]); ++index)
        numbers[index] = static_cast<Number>(PyFloat_AS_DOUBLE(items[index]));
    return index;
}

KzResult refuse(PyObject* actual, const char* expected, Py_ssize_t count) noexcept {
    kzNoteRefused(actual, expected, count);
    return KZe_FAILED;
}

KzResult within(const char* part, Py_ssize_t index) noexcept {
    kzNoteWithin(part, index);
    return KZe_FAILED;
}

KzResult refuse(PyObject* actual, const char* expected, KzResult code = KZe_FAILED) noexcept {
    kzNoteRefused(actual, "%s", expected);
    return code;
}

template <class Number> KzResult readNumbers(PyObject* sequence, Number* numbers, Py_ssize_t count) noexcept {
    if (!hasLength(sequence, count)) return refuse(sequence, "a sequence of %zd numbers", count);
    for (Py_ssize_t index = takeFloats(sequence, numbers, count); index < count; ++index) {
        const CPyRefNull item(itemOf(sequence, index));
        double number = 0;
        if (item.get() == nullptr || !toNumber(item, number)) {
            refuse(item.get() != nullptr ? item.get() : sequence, "a sequence of %zd numbers", count);
            return within("item", index);
        }
        numbers[index] = static_cast<Number>(number);
    }
    return KZe_OK;
}

template <class Number>
KzResult readRows(PyObject* sequence, Number* numbers, Py_ssize_t rows, Py_ssize_t columns) noexcept {
    if (!hasLength(sequence, rows)) return refuse(sequence, "a sequence of %zd rows", rows);
    for (Py_ssize_t row = 0; row < rows; ++row) {
        const CPyRefNull item(itemOf(sequence, row));
        if (item.get() == nullptr) return refuse(sequence, "a sequence of %zd rows", rows);
        if (kzFailed(readNumbers(item, numbers + row * columns, columns))) return within("row", row);
    }
    return KZe_OK;
}

// A tuple of `count` items that `make` creates; null when one cannot be made.
template <class Make> PyObject* makeTuple(Py_ssize_t count, Make&& make) noexcept {
    PyObject* tuple = PyTuple_New(count);
    for (Py_ssize_t index = 0; tuple != nullptr && index < count; ++index) {
        PyObject* item = make(index);
        if (item != nullptr) PyTuple_SET_ITEM(tuple, index, item);
        else Py_CLEAR(tuple);
    }
    return tuple;
}

template <class Number> PyObject* makeNumbers(const Number* numbers, Py_ssize_t count) noexcept {
    return makeTuple(count, [=](Py_ssize_t index) { return PyFloat_FromDouble(numbers[index]); });
}

template <class Number> PyObject* makeRows(const Number* numbers, Py_ssize_t rows, Py_ssize_t columns) noexcept {
    return makeTuple(rows, [=](Py_ssize_t row) { return makeNumbers(numbers + row * columns, columns); });
}

void releaseAll(std::vector<PyObject*>& objects) noexcept {
    for (PyObject* object : objects) Py_DECREF(object);
    objects.clear();
}

// True if a text of one to two words contains a NUL byte.
template <class Word> bool hasZero(const char* text, Py_ssize_t size) noexcept {
    constexpr Word ones = static_cast<Word>(0x0101010101010101), highs = static_cast<Word>(ones << 7);
    Word first = 0, last = 0;  // they may overlap
    std::memcpy(&first, text, sizeof first);
    std::memcpy(&last, text + size - sizeof last, sizeof last);
    return ((((first - ones) & ~first) | ((last - ones) & ~last)) & highs) != 0;
}

}  // namespace

constexpr char kzNoText[1] = "";

const char* kzTakeText(PyObject* object) noexcept {
    if (!PyString_CheckExact(object)) return object == Py_None ? nullptr : kzNoText;
    const char* text = PyString_AS_STRING(object);
    const Py_ssize_t size = PyString_GET_SIZE(object);
    // Most texts are names, and for those two loads beat a call of the library.
    const bool isName = size >= 8 ? size <= 16 && !hasZero<std::uint64_t>(text, size)
                                  : size >= 4 && !hasZero<std::uint32_t>(text, size);
    return isName || std::memchr(text, '\0', static_cast<std::size_t>(size)) == nullptr ? text : kzNoText;
}

KzResult kzReadNumbers(PyObject* sequence, double* numbers, Py_ssize_t count) noexcept {
    return readNumbers(sequence, numbers, count);
}

KzResult kzReadNumbers(PyObject* sequence, float* numbers, Py_ssize_t count) noexcept {
    return readNumbers(sequence, numbers, count);
}

KzResult kzReadRows(PyObject* sequence, double* numbers, Py_ssize_t rows, Py_ssize_t columns) noexcept {
    return readRows(sequence, numbers, rows, columns);
}

KzResult kzReadRows(PyObject* sequence, float* numbers, Py_ssize_t rows, Py_ssize_t columns) noexcept {
    return readRows(sequence, numbers, rows, columns);
}

KzResult kzReadBounds(PyObject* sequence, KzBounds& bounds) noexcept {
    if (PySequence_Check(sequence) == 0) return refuse(sequence, "a sequence of 2 rows", KZe_INVALIDARG);
    return readRows(sequence, bounds.min.v, 2, 3);
}

PyObject* kzMakeNumbers(const double* numbers, Py_ssize_t count) noexcept { return makeNumbers(numbers, count); }
PyObject* kzMakeNumbers(const float* numbers, Py_ssize_t count) noexcept { return makeNumbers(numbers, count); }

PyObject* kzMakeRows(const double* numbers, Py_ssize_t rows, Py_ssize_t columns) noexcept {
    return makeRows(numbers, rows, columns);
}

PyObject* kzMakeRows(const float* numbers, Py_ssize_t rows, Py_ssize_t columns) noexcept {
    return makeRows(numbers, rows, columns);
}

PyObject* kzMakeBounds(const KzBounds& bounds) noexcept { return makeRows(bounds.min.v, 2, 3); }

PyObject* kzMakeString(const char* text) noexcept {
    if (text != nullptr) return PyString_FromString(text);
    Py_RETURN_NONE;
}

PyObject* kzMakeHints(const KzTextValueHint* hints) noexcept {
    CPyRefNull list(PyList_New(0));
    for (; list.get() != nullptr && hints != nullptr && hints->text != nullptr; ++hints) {
        const CPyRefNull row(Py_BuildValue("is", static_cast<int>(hints->value), hints->text));
        if (row.get() == nullptr || PyList_Append(list, row) != 0) list.adopt(nullptr);
    }
    return list.release();
}

void kzGiveBack(IKzUnknown* object) noexcept {
    if (object != nullptr) object->Release();
}

PyObject* kzMakeArrayView(void* memory, std::size_t bytes) noexcept {
    PyObject* view = kzNewStorageView(memory, 0, 0);
    if (view != nullptr && memory != nullptr) kzStorageBuffer(view).refer(memory, bytes, nullptr, 0);
    return view;
}

std::size_t kzProduct(std::initializer_list<std::int64_t> factors) noexcept {
    std::size_t product = 1;
    for (const std::int64_t factor : factors)
        if (factor < 0) return 0;
        else if (__builtin_mul_overflow(product, static_cast<std::size_t>(factor), &product)) product = SIZE_MAX;
    return product;
}

KzResult kzReadGuid(PyObject* text, KzGuid& guid) noexcept {
    constexpr const char* expected = "a GUID as a text of the form 8-4-4-4-12";
    if (!PyString_Check(text)) return refuse(text, expected);
    const char* characters = PyString_AS_STRING(text);
    if (std::strlen(characters) != static_cast<std::size_t>(PyString_GET_SIZE(text))) return refuse(text, expected);
    const CKzUser_GUIDService service;
    const KzResult code = service ? service->FromText(characters, &guid) : KZe_NOTAVAILABLE;
    if (kzSucceeded(code)) return KZe_OK;
    return code == KZe_OUTOFMEMORY ? code : refuse(text, expected);
}

CStoragePin::~CStoragePin() {
    if (m_storage != nullptr) kzUnpinStorage(m_storage);
}

KzResult CStoragePin::pin(PyObject* object) noexcept {
    if (object == Py_None) return KZe_OK;
    if (!kzIsStorage(object)) return refuse(object, "a kz.Storage or None", KZe_INVALIDARG);
    m_storage = object;
    m_memory = kzPinStorage(object);
    return KZe_OK;
}

KzResult CStoragePin::holds(std::initializer_list<std::int64_t> factors) const noexcept {
    if (m_memory == nullptr) return KZe_OK;
    std::uint64_t bytes = 1;
    for (const std::int64_t factor : factors) {
        if (factor == kzUnknownSize) {
            kzNoteRefused(m_storage, "another argument that says how long the storage has to be");
            return KZe_INVALIDARG;
        }
        if (factor < 0) return KZe_OK;
        if (__builtin_mul_overflow(bytes, static_cast<std::uint64_t>(factor), &bytes)) bytes = UINT64_MAX;
    }
    const std::uint64_t available = kzStorageBuffer(m_storage).readableBytes();
    if (bytes <= available) return KZe_OK;
    kzNoteRefused(m_storage, "a storage of at least %zu bytes", bytes);
    return KZe_INVALIDARG;
}

CHintTable::~CHintTable() { releaseAll(m_texts); }

KzResult CHintTable::add(PyObject* key, PyObject* text) {
    const long value = PyInt_AsLong(key);
    if (value == -1 && PyErr_Occurred() != nullptr) return refuse(key, "an integer for each key");
    const CPyRefNull string(PyObject_Str(text));
    constexpr const char* expected = "a text without NUL bytes for each value";
    if (string.get() == nullptr) return refuse(text, expected);
    const char* characters = kzTakeText(string);
    if (characters == kzNoText)
        return refuse(text, expected, KZe_INVALIDARG);  // the host would see only the part before the NUL byte
    m_texts.push_back(string.get());
    Py_INCREF(string.get());
    m_rows.push_back({static_cast<std::int32_t>(value), characters});
    return KZe_OK;
}

// The list is a private copy, because str() may run code that changes the original.
KzResult CHintTable::addPairs(PyObject* list) {
    kzNonNull(list);
    for (Py_ssize_t index = 0; index < PyList_GET_SIZE(list); ++index) {
        PyObject* item = PyList_GET_ITEM(list, index);
        const bool isPair = (PyTuple_Check(item) || PyList_Check(item)) && PySequence_Size(item) == 2;
        if (!isPair) return KZe_INVALIDARG;
        const CPyRefNull pair(kzNonNull(PySequence_Tuple(item)));
        if (const KzResult code = add(PyTuple_GET_ITEM(pair.get(), 0), PyTuple_GET_ITEM(pair.get(), 1)); kzFailed(code))
            return code;
    }
    m_rows.push_back({0, nullptr});
    return KZe_OK;
}

KzResult CHintTable::read(PyObject* dictionary) noexcept {
    if (!PyDict_Check(dictionary)) return refuse(dictionary, "a dictionary from integers to texts", KZe_INVALIDARG);
    return kzBoundary([&] { return addPairs(CPyRefNull(PyDict_Items(dictionary)).get()); });
}

KzResult CHintTable::readPairs(PyObject* sequence) noexcept {
    return kzBoundary([&] { return addPairs(CPyRefNull(PySequence_List(sequence)).get()); });
}

KzTextValueHint* CHintTable::keep() noexcept {
    const auto bytes = static_cast<Py_ssize_t>(m_rows.size() * sizeof(KzTextValueHint));
    PyObject* memory = PyByteArray_FromStringAndSize(reinterpret_cast<const char*>(m_rows.data()), bytes);
    if (memory == nullptr) return nullptr;
    m_texts.clear();  // their references are kept for good
    return reinterpret_cast<KzTextValueHint*>(PyByteArray_AS_STRING(memory));
}

CBlockTable::~CBlockTable() { releaseAll(m_bytes); }

KzResult CBlockTable::add(PyObject* pair) {
    constexpr const char* expected = "a sequence of (integer, str) tuples";
    if (!PyTuple_Check(pair) || PyTuple_GET_SIZE(pair) != 2) return refuse(pair, expected, KZe_INVALIDARG);
    PyObject* bytes = PyTuple_GET_ITEM(pair, 1);
    if (!PyString_Check(bytes)) return refuse(bytes, expected, KZe_INVALIDARG);
    const unsigned long id = PyInt_AsUnsignedLongMask(PyTuple_GET_ITEM(pair, 0));
    if (PyErr_Occurred() != nullptr) return refuse(PyTuple_GET_ITEM(pair, 0), expected);
    m_bytes.push_back(bytes);
    Py_INCREF(bytes);
    m_blocks.push_back({static_cast<std::uint32_t>(id), static_cast<std::uint32_t>(PyString_GET_SIZE(bytes)),
                        PyString_AS_STRING(bytes)});
    return KZe_OK;
}

KzResult CBlockTable::read(PyObject* sequence) noexcept {
    if (sequence == Py_None) return KZe_OK;
    refuse(sequence, "a sequence of (integer, str) tuples");
    if (PySequence_Check(sequence) == 0) return KZe_INVALIDARG;
    return kzBoundary([&] {
        const CPyRefNull pairs(PySequence_List(sequence));
        kzNonNull(pairs.get());
        for (Py_ssize_t index = 0; index < PyList_GET_SIZE(pairs.get()); ++index)
            if (const KzResult code = add(PyList_GET_ITEM(pairs.get(), index)); kzFailed(code)) return code;
        m_list = {static_cast<std::uint32_t>(m_blocks.size()), m_blocks.data()};
        return KZe_OK;
    });
}

bool CTextBuffer::grow() noexcept { return m_size < largest && growTo(m_size * 4); }

void CTextBuffer::growOnce() noexcept { growTo(onceSize); }

bool CTextBuffer::growTo(std::uint32_t size) noexcept {
    std::unique_ptr<char[]> larger(new (std::nothrow) char[size]);
    if (!larger) return false;
    m_heap = std::move(larger);
    m_heap[0] = '\0';
    m_size = size;
    return true;
}

PyObject* CTextBuffer::make() noexcept {
    return PyString_FromStringAndSize(data(), static_cast<Py_ssize_t>(strnlen(data(), m_size)));
}

bool kzParse(PyObject* self, PyObject* args, std::intptr_t slot, const char* format, ...) noexcept {
    va_list targets;
    va_start(targets, format);
    const bool isParsed = PyArg_VaParse(args, format, targets) != 0;
    va_end(targets);
    if (!isParsed) kzRefuseParsed(self, args, slot, format);
    return isParsed;
}
