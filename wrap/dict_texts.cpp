// The entries of a Python dictionary as texts.
#include "wrap/dict_texts.h"

#include "module/checks.h"
#include "module/py_ref.h"

std::string kzStrictStringOf(PyObject* object) {
    const CPyRefNull text(PyObject_Str(object));
    char* characters = nullptr;
    kzNonNegative(PyString_AsStringAndSize(kzNonNull(text.get()), &characters, nullptr));  // refuses NUL bytes
    return characters;
}

void kzTextsOfDict(PyObject* dictionary, std::vector<std::string>& keys, std::vector<std::string>& values) {
    keys.clear();
    values.clear();
    if (dictionary == nullptr || !PyDict_Check(dictionary)) return;
    // A copy of the entries: str() may run code that changes the dictionary.
    const CPyRefNull items(PyDict_Items(dictionary));
    kzNonNull(items.get());
    std::vector<std::string> newKeys;
    std::vector<std::string> newValues;
    for (Py_ssize_t index = 0; index < PyList_GET_SIZE(items.get()); ++index) {
        PyObject* entry = PyList_GET_ITEM(items.get(), index);
        newKeys.push_back(kzStrictStringOf(PyTuple_GET_ITEM(entry, 0)));
        newValues.push_back(kzStrictStringOf(PyTuple_GET_ITEM(entry, 1)));
    }
    keys.swap(newKeys);
    values.swap(newValues);
}
