// Reading the stacks of Python threads without relying on what they point to.
#include "module/stack_report.h"

#include "module/memory_probe.h"

#include "kz/base/boundary.h"

#include <frameobject.h>

#include <algorithm>
#include <cstring>
#include <pthread.h>

namespace {

constexpr int mostThreads = 1000;
constexpr int mostFrames = 100;

// Reads Python objects that may be gone.
class CObjectProbe : public CMemoryProbe {
public:
    // A Python object of exactly that type.
    template <class Object> bool object(const void* from, const PyTypeObject& type, Object& to) const noexcept {
        return copy(from, &to, sizeof to) && Py_TYPE(&to) == &type;
    }
    // The beginning of a Python string; "?" for anything else.
    std::string text(PyObject* from) const {
        constexpr Py_ssize_t most = 1000;
        PyVarObject head;  // a short string is smaller than its type
        if (!object(from, PyString_Type, head)) return "?";
        std::string text(static_cast<std::size_t>(std::clamp<Py_ssize_t>(Py_SIZE(&head), 0, most)), '\0');
        const auto* bytes = reinterpret_cast<const char*>(from) + offsetof(PyStringObject, ob_sval);
        return text.empty() || copy(bytes, text.data(), text.size()) ? text : "?";
    }
};

// The table has pairs of bytes: by how much the address grows, and by how much the line does.
int lineOf(const CObjectProbe& memory, const PyCodeObject& code, int instruction) {
    PyVarObject head;
    int line = code.co_firstlineno;
    if (!memory.object(code.co_lnotab, PyString_Type, head)) return line;
    const auto* at = reinterpret_cast<const char*>(code.co_lnotab) + offsetof(PyStringObject, ob_sval);
    unsigned char pair[2];
    for (Py_ssize_t left = std::min<Py_ssize_t>(Py_SIZE(&head), 1 << 16), address = 0; left >= 2; left -= 2, at += 2) {
        if (!memory.copy(at, pair, sizeof pair) || (address += pair[0]) > instruction) break;
        line += pair[1];
    }
    return line;
}

std::string framesOf(const CObjectProbe& memory, const void* top) {
    std::string text;
    PyFrameObject frame;
    PyCodeObject code;
    for (int depth = 0; memory.object(top, PyFrame_Type, frame); top = frame.f_back) {
        if (++depth > mostFrames) return text + " .. and more\n";
        if (!memory.object(frame.f_code, PyCode_Type, code)) return text + " .. ?\n";
        text += " .. " + memory.text(code.co_filename) + ": " + std::to_string(lineOf(memory, code, frame.f_lasti)) +
                " (" + memory.text(code.co_name) + ")\n";
    }
    return text;
}

// What the module threading calls it, or the system. Needs the interpreter lock, but runs no Python code.
std::string nameOf(const PyThreadState& thread) {
    PyObject* threading = PyDict_GetItemString(thread.interp->modules, "threading");
    PyObject* names = threading != nullptr && PyModule_Check(threading) ? PyModule_GetDict(threading) : nullptr;
    PyObject* active = names != nullptr ? PyDict_GetItemString(names, "_active") : nullptr;
    PyObject* key = active != nullptr && PyDict_Check(active) ? PyInt_FromLong(thread.thread_id) : nullptr;
    PyObject* entry = key != nullptr ? PyDict_GetItem(active, key) : nullptr;
    Py_XDECREF(key);
    PyObject** fields = entry != nullptr ? _PyObject_GetDictPtr(entry) : nullptr;
    PyObject* name = fields != nullptr && *fields != nullptr ? PyDict_GetItemString(*fields, "_Thread__name") : nullptr;
    if (name != nullptr && PyString_Check(name)) return PyString_AS_STRING(name);
    char system[32] = "";
    pthread_getname_np(static_cast<pthread_t>(thread.thread_id), system, sizeof system);
    return system;
}

}  // namespace

std::string kzStackReport(PyInterpreterState* interpreter, bool holdsLock) noexcept {
    std::string report;
    kzValueBoundary([&] {
        const CObjectProbe memory;
        PyInterpreterState state;
        PyThreadState thread;
        if (!memory.copy(interpreter, &state, sizeof state)) return;
        const PyThreadState* at = state.tstate_head;
        for (int count = 0; count < mostThreads && memory.copy(at, &thread, sizeof thread); at = thread.next, ++count)
            if (const std::string frames = framesOf(memory, thread.frame); !frames.empty())
                report += "thread " + std::to_string(thread.thread_id) +
                          (holdsLock ? " \"" + nameOf(thread) + "\"" : std::string()) + "\n" + frames;
    });
    if (report.ends_with('\n')) report.pop_back();
    return report;
}
