// The part of argument marshalling that does not depend on the signature, called by the templates of marshal_kinds.h.
// Everything here needs the interpreter lock and throws nothing.
#pragma once

#include "module/python.h"

#include "kz/base/unknown.h"
#include "kz/result.h"

#include <initializer_list>
#include <memory>
#include <vector>

#pragma GCC visibility push(hidden)  // so that the thousands of calls from generated code are direct

// The text of an exact str without NUL bytes, null for None, kzNoText for anything else. Sets no exception.
extern const char kzNoText[1];
const char* kzTakeText(PyObject* object) noexcept;
// Reads a sequence of exactly `count` numbers. FAILED for any other length; a raised Python exception stays set.
KzResult kzReadNumbers(PyObject* sequence, double* numbers, Py_ssize_t count) noexcept;
KzResult kzReadNumbers(PyObject* sequence, float* numbers, Py_ssize_t count) noexcept;
// Reads a sequence of exactly `rows` sequences of exactly `columns` numbers.
KzResult kzReadRows(PyObject* sequence, double* numbers, Py_ssize_t rows, Py_ssize_t columns) noexcept;
KzResult kzReadRows(PyObject* sequence, float* numbers, Py_ssize_t rows, Py_ssize_t columns) noexcept;
// Reads a sequence of two sequences of three numbers; INVALIDARG if it is not a sequence.
KzResult kzReadBounds(PyObject* sequence, KzBounds& bounds) noexcept;

// New tuples of floats, or of tuples of floats. Null with an exception set if memory is short.
PyObject* kzMakeNumbers(const double* numbers, Py_ssize_t count) noexcept;
PyObject* kzMakeNumbers(const float* numbers, Py_ssize_t count) noexcept;
PyObject* kzMakeRows(const double* numbers, Py_ssize_t rows, Py_ssize_t columns) noexcept;
PyObject* kzMakeRows(const float* numbers, Py_ssize_t rows, Py_ssize_t columns) noexcept;
PyObject* kzMakeBounds(const KzBounds& bounds) noexcept;
PyObject* kzMakeString(const char* text) noexcept;                    // None for null
PyObject* kzMakeHints(const KzTextValueHint* hints) noexcept;         // a list of (integer, text)
PyObject* kzMakeArrayView(void* memory, std::size_t bytes) noexcept;  // an untyped buffer over the host's memory

// Releases an object, if there is one.
void kzGiveBack(IKzUnknown* object) noexcept;

// Reads a GUID from its text or from a name that the host knows. FAILED for anything else.
KzResult kzReadGuid(PyObject* text, KzGuid& guid) noexcept;

// The product of the factors, at most SIZE_MAX; 0 if one of them is negative.
std::size_t kzProduct(std::initializer_list<std::int64_t> factors) noexcept;

// The factor for a value that a table does not have.
inline constexpr std::int64_t kzUnknownSize = INT64_MIN;

// Pins the memory of a storage argument: it stays valid and in place until the pin ends, whatever Python does to the
// storage. None has null memory; anything else is INVALIDARG.
class CStoragePin {
public:
    CStoragePin() = default;
    ~CStoragePin();
    CStoragePin(const CStoragePin&) = delete;
    CStoragePin& operator=(const CStoragePin&) = delete;
    KzResult pin(PyObject* object) noexcept;
    void* memory() const noexcept { return m_memory; }
    // INVALIDARG if the storage has fewer bytes than the product of the factors. Null memory and negative factors pass:
    // refusing them is up to the method. No storage is long enough for kzUnknownSize.
    KzResult holds(std::initializer_list<std::int64_t> factors) const noexcept;

private:
    PyObject* m_storage = nullptr;
    void* m_memory = nullptr;
};

// Converts a dictionary from integers to texts, or a sequence of such pairs, to the host's table of hints.
class CHintTable {
public:
    CHintTable() = default;
    ~CHintTable();
    CHintTable(const CHintTable&) = delete;
    CHintTable& operator=(const CHintTable&) = delete;
    KzResult read(PyObject* dictionary) noexcept;
    KzResult readPairs(PyObject* sequence) noexcept;
    const KzTextValueHint* rows() const noexcept { return m_rows.data(); }
    // A copy of the rows and their texts that lives as long as the interpreter. Null with an exception set on failure.
    KzTextValueHint* keep() noexcept;

private:
    KzResult addPairs(PyObject* list);
    KzResult add(PyObject* key, PyObject* text);

    std::vector<KzTextValueHint> m_rows;
    std::vector<PyObject*> m_texts;  // keeps the rows' texts alive
};

// Converts a sequence of (number, bytes) pairs to a block list; None gives an empty list.
class CBlockTable {
public:
    CBlockTable() = default;
    ~CBlockTable();
    CBlockTable(const CBlockTable&) = delete;
    CBlockTable& operator=(const CBlockTable&) = delete;
    KzResult read(PyObject* sequence) noexcept;
    const KzBlockList* list() const noexcept { return &m_list; }

private:
    KzResult add(PyObject* pair);

    std::vector<KzBlock> m_blocks;
    std::vector<PyObject*> m_bytes;  // keeps the blocks' memory alive
    KzBlockList m_list{0, nullptr};
};

// A buffer for a text that the host writes. It starts on the stack and grows while the host answers SHORTBUFFER.
class CTextBuffer {
public:
    CTextBuffer() noexcept { m_local[0] = '\0'; }
    char* data() noexcept { return m_heap ? m_heap.get() : m_local; }
    std::uint32_t size() const noexcept { return m_size; }
    bool grow() noexcept;      // false once it is as large as it may get
    void growOnce() noexcept;  // to the size for methods that are called once; best effort
    PyObject* make() noexcept;

private:
    bool growTo(std::uint32_t size) noexcept;

    static constexpr std::uint32_t localSize = 512;
    static constexpr std::uint32_t onceSize = 1U << 20;
    static constexpr std::uint32_t largest = 1U << 26;

    char m_local[localSize];
    std::unique_ptr<char[]> m_heap;
    std::uint32_t m_size = localSize;
};

// Reads the arguments of the method in that slot with the interpreter's parser. The log explains why they are refused.
bool kzParse(PyObject* self, PyObject* args, std::intptr_t slot, const char* format, ...) noexcept;

#pragma GCC visibility pop
