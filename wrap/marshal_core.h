// The compiled core of argument marshalling: what the templates of every signature call. All of it needs the
// interpreter lock; nothing here throws.
#pragma once

#include "module/python.h"

#include "kz/base/unknown.h"
#include "kz/result.h"

#include <cstring>
#include <initializer_list>
#include <memory>
#include <vector>

#pragma GCC visibility push(hidden)  // the thousands of calls from generated code are direct then

// Whether one of the bytes of a text is zero, whose length is that of one word to two.
template <class Word> bool kzHasZero(const char* text, Py_ssize_t size) noexcept {
    constexpr Word ones = static_cast<Word>(0x0101010101010101), highs = static_cast<Word>(ones << 7);
    Word first = 0, last = 0;  // they may lap over each other
    std::memcpy(&first, text, sizeof first);
    std::memcpy(&last, text + size - sizeof last, sizeof last);
    return ((((first - ones) & ~first) | ((last - ones) & ~last)) & highs) != 0;
}

// The text of a plain str without zero bytes, null for None, kzNoText for anything else. Sets no exception.
extern const char kzNoText[1];
const char* kzTakeOtherText(PyObject* object) noexcept;
// Most texts are names, short enough to be looked over here.
inline const char* kzTakeText(PyObject* object) noexcept {
    if (!PyString_CheckExact(object)) return kzTakeOtherText(object);
    const char* text = PyString_AS_STRING(object);
    const Py_ssize_t size = PyString_GET_SIZE(object);
    if (size >= 8 ? size <= 16 && !kzHasZero<std::uint64_t>(text, size)
                  : size >= 4 && !kzHasZero<std::uint32_t>(text, size))
        return text;
    return kzTakeOtherText(object);
}
// A sequence of exactly `count` numbers. FAILED for another length; a Python exception stays set where one was raised.
KzResult kzReadNumbers(PyObject* sequence, double* numbers, Py_ssize_t count) noexcept;
KzResult kzReadNumbers(PyObject* sequence, float* numbers, Py_ssize_t count) noexcept;
// A sequence of exactly `count` sequences of exactly `count` numbers.
KzResult kzReadRows(PyObject* sequence, double* numbers, Py_ssize_t rows, Py_ssize_t columns) noexcept;
KzResult kzReadRows(PyObject* sequence, float* numbers, Py_ssize_t rows, Py_ssize_t columns) noexcept;
// A sequence of two sequences of three numbers; INVALIDARG when it is no sequence.
KzResult kzReadBounds(PyObject* sequence, KzBounds& bounds) noexcept;

// Tuples of floats; of tuples of floats. Null with an exception set when memory is short.
PyObject* kzMakeNumbers(const double* numbers, Py_ssize_t count) noexcept;
PyObject* kzMakeNumbers(const float* numbers, Py_ssize_t count) noexcept;
PyObject* kzMakeRows(const double* numbers, Py_ssize_t rows, Py_ssize_t columns) noexcept;
PyObject* kzMakeRows(const float* numbers, Py_ssize_t rows, Py_ssize_t columns) noexcept;
PyObject* kzMakeBounds(const KzBounds& bounds) noexcept;
PyObject* kzMakeString(const char* text) noexcept;                    // None for a null text
PyObject* kzMakeHints(const KzTextValueHint* hints) noexcept;         // a list of (integer, text)
PyObject* kzMakeArrayView(void* memory, std::size_t bytes) noexcept;  // a buffer without type over the host's memory

// Releases an object, if there is one.
void kzGiveBack(IKzUnknown* object) noexcept;

// A GUID from its text, by the host's lookup. FAILED for anything else.
KzResult kzReadGuid(PyObject* text, KzGuid& guid) noexcept;

// The product of sizes, at most SIZE_MAX; 0 where one of them is negative.
std::size_t kzProduct(std::initializer_list<std::int64_t> factors) noexcept;

// The memory of a storage argument, or null for None; INVALIDARG for anything else. While it is pinned the memory stays
// where it is, whatever Python does to the storage.
inline constexpr std::int64_t kzUnknownSize = INT64_MIN;  // of what is not in a table
class CStoragePin {
public:
    CStoragePin() = default;
    ~CStoragePin();
    CStoragePin(const CStoragePin&) = delete;
    CStoragePin& operator=(const CStoragePin&) = delete;
    KzResult pin(PyObject* object) noexcept;
    void* memory() const noexcept { return m_memory; }
    // INVALIDARG unless there are as many bytes as these factors make. None
    // of them are needed where there is no memory, or where a factor is negative: that is for the method to refuse. No
    // storage is long enough for an unknown size.
    KzResult holds(std::initializer_list<std::int64_t> factors) const noexcept;

private:
    PyObject* m_storage = nullptr;
    void* m_memory = nullptr;
};

// A dictionary from integers to texts, or a sequence of such pairs, as the host's table of hints.
class CHintTable {
public:
    CHintTable() = default;
    ~CHintTable();
    CHintTable(const CHintTable&) = delete;
    CHintTable& operator=(const CHintTable&) = delete;
    KzResult read(PyObject* dictionary) noexcept;
    KzResult readPairs(PyObject* sequence) noexcept;
    const KzTextValueHint* rows() const noexcept { return m_rows.data(); }
    // A copy of the rows that lives, texts and all, as long as the interpreter. Null with an exception set on failure.
    KzTextValueHint* keep() noexcept;

private:
    KzResult addPairs(PyObject* list);
    KzResult add(PyObject* key, PyObject* text);

    std::vector<KzTextValueHint> m_rows;
    std::vector<PyObject*> m_texts;  // keeps the rows' texts alive
};

// A sequence of (number, bytes) pairs as a block list; None is an empty list.
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

// Memory for a text that the host writes. It starts on the stack and grows while the host answers SHORTBUFFER.
class CTextBuffer {
public:
    CTextBuffer() noexcept { m_local[0] = '\0'; }
    char* data() noexcept { return m_heap ? m_heap.get() : m_local; }
    std::uint32_t size() const noexcept { return m_size; }
    bool grow() noexcept;      // false when it has grown enough
    void growOnce() noexcept;  // to what any text needs; stays as it is where memory is short
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

// Reads the arguments of the method in that slot with the interpreter's parser. What it refuses is explained in the log.
bool kzParse(PyObject* self, PyObject* args, std::intptr_t slot, const char* format, ...) noexcept;

#pragma GCC visibility pop
