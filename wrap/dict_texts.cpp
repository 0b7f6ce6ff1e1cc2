// The entries of a Python dictionary as texts.
#include "wrap/dict_texts.h"

#include "module/checks.h"
#include "module/py_ref.h"

std::string kzStrictStringOf(PyObject* object) {
    const CPyRefNull text(PyObject_Str(object));
    char* characters = nullptr;
    kzNonNegative(PyString_AsStringAndSize(kzNonNull(text.get()), &characters, nullptr));  // refuses zero bytes
    return characters;
}

void kzTextsOfDict(PyObject* dictionary, std::vector<std::string>& keys, std::vector<std::string>& values) {
    keys.clear();
    values.clear();
    if (dictionary == nullptr || !PyDict_Check(dictionary)) return;
    // A copy of the entries: making their string forms may change the dictionary.
    const CPyRefNull items(PyDict_Items(dictionary));
    kzNonNull(items.get());
    std::vector<std::string> foundKeys;
    std::vector<std::string> foundValues;
    for (Py_ssize_t index = 0; index < PyList_GET_SIZE(items.get()); ++index) {
        PyObject* entry = PyList_GET_ITEM(items.get(), index);
        foundKeys.push_back(kzStrictStringOf(PyTuple_GET_ITEM(entry, 0)));
        foundValues.push_back(kzStrictStringOf(PyTuple_GET_ITEM(entry, 1)));
    }
    keys.swap(foundKeys);
    values.swap(foundValues);
}
