// What the host passes, as Python objects.
#include "serve/arguments.h"

#include "wrap/marshal_core.h"
#include "wrap/result_codes.h"
#include "wrap/storage_buffer.h"
#include "wrap/storage_elements.h"
#include "wrap/wrapper.h"

#include "kz/result.h"

CArguments::~CArguments() {
    while (m_count > 0) {
        PyObject* item = m_items[--m_count];
        // The host's memory is good for this call only: a view that Python has kept sees nothing from here on.
        if (m_count > 0 && Py_REFCNT(item) > 1 && kzIsStorage(item)) kzEndStorageView(item);
        Py_DECREF(item);
    }
}

bool CArguments::build(const char*& letter, const KzWord*& word) noexcept {
    for (; *letter != ':'; ++letter) {
        PyObject* made = make(letter, word);
        if (made == nullptr) return false;
        m_items[m_count++] = made;
    }
    ++letter;
    return true;
}

PyObject* CArguments::make(const char*& letter, const KzWord*& word) noexcept {
    const KzWord& value = *word++;
    switch (*letter) {
    case 'i':
    case 'I':
    case 'n': return PyInt_FromLong(value.integer);
    case 'f':
    case 'd': return PyFloat_FromDouble(value.real);
    case 'z': return kzMakeString(static_cast<const char*>(value.pointer));
    case 'O': return kzNewUnknown(static_cast<IKzUnknown*>(const_cast<void*>(value.pointer)));
    case 'A': return makeView(*++letter, word);
    default: break;
    }
    if (value.pointer == nullptr) return kzRaise(KZe_FAILED);
    const bool isDouble = *letter == 'V';
    const Py_ssize_t count = *++letter - '0';
    if (isDouble) return kzMakeNumbers(static_cast<const double*>(value.pointer), count);
    return kzMakeNumbers(static_cast<const float*>(value.pointer), count);
}

PyObject* CArguments::makeView(char element, const KzWord*& word) noexcept {
    void* memory = const_cast<void*>(word[-1].pointer);
    const std::int64_t elements = (word++)->integer;
    const StorageType* type = element != '*' ? kzFindStorageType(element) : nullptr;
    if (type != nullptr && elements >= 0) return kzNewStorageView(memory, static_cast<std::size_t>(elements), element);
    // The method says what is in raw bytes, and where nobody here knows how far the memory reaches it says that, too.
    PyObject* view = kzNewStorageView(memory, 0, '\0');
    if (view != nullptr && memory != nullptr) {
        kzStorageBuffer(view).refer(memory, elements >= 0 ? static_cast<std::size_t>(elements) : SIZE_MAX, type, 0);
        kzStorageBuffer(view).setWritable(true);  // the host may want it filled: an image's line, a pixel
    }
    return view;
}
