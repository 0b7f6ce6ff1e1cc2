// sys.argv, sys.path and __main__ while a script runs.
#include "script/script_surroundings.h"

#include "module/checks.h"
#include "module/pending_exception.h"

#include "kz/script.h"

#include <cstdlib>
#include <unistd.h>
#include <utility>

namespace Python_Script {

namespace {

// The script that started last. Scripts on several threads may end in any order.
CScriptSurroundings* theTop = nullptr;

// An ordinary module sets all its names to None when it is destroyed, which would break functions that outlive the
// script, such as those of a listener or a thread. This one leaves its dictionary alone.
void freeMain(PyObject* module) {
    const CPyRefNull names(std::exchange(*_PyObject_GetDictPtr(module), nullptr));
    PyModule_Type.tp_dealloc(module);
}

PyTypeObject& mainType() {
    static PyTypeObject type = [] {
        PyTypeObject fields{};
        Py_REFCNT(&fields) = 1;
        fields.tp_name = "module";
        fields.tp_base = &PyModule_Type;
        fields.tp_dealloc = freeMain;
        fields.tp_flags = Py_TPFLAGS_DEFAULT;
        return fields;
    }();
    kzNonNegative(PyType_Ready(&type));
    return type;
}

PyObject* newMain(PyObject* names) {
    PyObject* module =
        kzNonNull(PyObject_CallFunction(reinterpret_cast<PyObject*>(&mainType()), kzText("s"), "__main__"));
    Py_INCREF(names);
    const CPyRefNull unused(std::exchange(*_PyObject_GetDictPtr(module), names));
    return module;
}

CPyRef textOf(const std::string& text) {
    return CPyRef(PyString_FromStringAndSize(text.data(), static_cast<Py_ssize_t>(text.size())), CPyRef::owned);
}

PyObject* listOf(const std::vector<std::string>& words) {
    CPyRefNull list(kzNonNull(PyList_New(0)));
    for (const std::string& word : words) kzNonNegative(PyList_Append(list, textOf(word)));
    return list.release();
}

// The file's folder, with links resolved. For a script from standard input it is "", the current folder.
PyObject* folderOf(const std::string& path, const std::vector<std::string>& words) {
    if (words.front() == "-") return textOf("").release();
    char* real = access(path.c_str(), F_OK) == 0 ? realpath(path.c_str(), nullptr) : nullptr;
    if (real == nullptr) return nullptr;
    const std::string file = real;
    std::free(real);
    return textOf(file.substr(0, std::max<std::size_t>(file.rfind('/'), 1))).release();
}

void setOrDelete(const char* name, PyObject* value) {
    if (PySys_SetObject(kzText(name), value) != 0) PyErr_Clear();
}

}  // namespace

std::vector<std::string> wordsOf(IKzUnknown* object) {
    std::vector<std::string> words;
    CKzLoc_WordList list;
    if (!list.set(object)) return words;
    const char* word = nullptr;
    const std::uint32_t count = list->Count();
    for (std::uint32_t index = 0; index < count && kzSucceeded(list->ByIndex(index, &word)) && word != nullptr; ++index)
        words.emplace_back(word);
    return words;
}

CScriptSurroundings::CScriptSurroundings(const std::string& path, PyObject* names,
                                         const std::vector<std::string>& words)
    : m_folder(folderOf(path, words)), m_words(listOf(words)), m_main(newMain(names)) {
    if (m_folder.get() != nullptr && words.front() != "-")
        kzNonNegative(PyDict_SetItemString(names, "__file__", textOf(path)));
    install();
    m_below = std::exchange(theTop, this);
}

void CScriptSurroundings::install() {
    PyObject* modules = PyImport_GetModuleDict();
    PyObject* formerMain = PyDict_GetItemString(modules, "__main__");
    PyObject* formerWords = PySys_GetObject(kzText("argv"));
    Py_XINCREF(formerMain);
    m_formerMain.adopt(formerMain);
    Py_XINCREF(formerWords);
    m_formerWords.adopt(formerWords);
    PyObject* path = PySys_GetObject(kzText("path"));
    if (m_folder.get() != nullptr && path != nullptr && PyList_Check(path))
        kzNonNegative(PyList_Insert(path, 0, m_folder));
    if (PySys_SetObject(kzText("argv"), m_words) != 0 || PyDict_SetItemString(modules, "__main__", m_main) != 0) {
        removeFolder();
        restore();
        throw kzFailedCode;
    }
}

void CScriptSurroundings::restore() noexcept {
    const CPendingException pending;
    PyObject* modules = PyImport_GetModuleDict();
    if (m_formerMain.get() == nullptr) PyDict_DelItemString(modules, "__main__");
    else PyDict_SetItemString(modules, "__main__", m_formerMain);
    PyErr_Clear();
    setOrDelete("argv", m_formerWords);
}

void CScriptSurroundings::removeFolder() noexcept {
    const CPendingException pending;
    PyObject* path = PySys_GetObject(kzText("path"));
    const Py_ssize_t count =
        m_folder.get() != nullptr && path != nullptr && PyList_Check(path) ? PyList_GET_SIZE(path) : 0;
    for (Py_ssize_t at = 0; at < count; ++at)
        if (PyList_GET_ITEM(path, at) == m_folder.get()) {
            PyList_SetSlice(path, at, at + 1, nullptr);
            break;
        }
}

CScriptSurroundings::~CScriptSurroundings() {
    removeFolder();
    if (theTop == this) {
        theTop = m_below;
        restore();
        return;
    }
    CScriptSurroundings* above = theTop;
    while (above->m_below != this) above = above->m_below;
    above->m_below = m_below;
    std::swap(above->m_formerMain, m_formerMain);
    std::swap(above->m_formerWords, m_formerWords);
}

}  // namespace Python_Script
