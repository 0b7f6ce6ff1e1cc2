// Converting what the host passes to Python objects.
#include "serve/arguments.h"

#include "serve/carrier.h"
#include "wrap/result_codes.h"
#include "wrap/storage_buffer.h"
#include "wrap/storage_elements.h"
#include "wrap/wrapper.h"

#include "kz/result.h"

CArguments::~CArguments() {
    while (m_count > 0) {
        PyObject* item = m_items[--m_count];
        // The host's memory is valid only during this call, so a view that Python code has kept is emptied now.
        if (m_count > 0 && Py_REFCNT(item) > 1 && kzIsStorage(item)) kzEndStorageView(item);
        Py_DECREF(item);
    }
}

bool CArguments::build(const char*& letter, const KzWord*& word) noexcept {
    for (; *letter != ':'; ++letter) {
        PyObject* argument = make(letter, word);
        if (argument == nullptr) return false;
        m_items[m_count++] = argument;
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
    default: {
        const KzCarrier& carrier = kzCarrierAt(*++letter);
        return value.pointer != nullptr ? carrier.toPython(value.pointer) : kzRaise(KZe_FAILED);
    }
    }
}

PyObject* CArguments::makeView(char element, const KzWord*& word) noexcept {
    void* memory = const_cast<void*>(word[-1].pointer);
    const std::int64_t elements = (word++)->integer;
    const StorageType* type = element != '*' ? kzFindStorageType(element) : nullptr;
    if (type != nullptr && elements >= 0) return kzNewStorageView(memory, static_cast<std::size_t>(elements), element);
    // For raw bytes, the method itself sets the element type. If the length is not known here, it sets that as well.
    PyObject* view = kzNewStorageView(memory, 0, '\0');
    if (view != nullptr && memory != nullptr) {
        kzStorageBuffer(view).refer(memory, elements >= 0 ? static_cast<std::size_t>(elements) : SIZE_MAX, type, 0);
        kzStorageBuffer(view).setWritable(true);  // it may be the method's task to fill it, as with an image's line
    }
    return view;
}
