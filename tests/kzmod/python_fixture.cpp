// Python with the kz module's own functions and types, on the scripted host.
#include "python_fixture.h"

#include "kzmod/functions.h"
#include "kzmod/storage_type.h"
#include "kzmod/types.h"
#include "module/checks.h"
#include "module/error_report.h"
#include "module/parts.h"
#include "wrap/registration.h"

// No wrapper types are needed here.
constexpr std::span<const KzHeaderRows* const> kzHeaders;

namespace {

PyMethodDef functions[] = {
    {"eval", kzEvalFunction, METH_VARARGS, nullptr},
    {"eval1", kzEval1Function, METH_VARARGS, nullptr},
    {"evalN", kzEvalNFunction, METH_VARARGS, nullptr},
    {"queryToggle", kzQueryToggleFunction, METH_VARARGS, nullptr},
    {"command", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(kzCommandFunction)),
     METH_VARARGS | METH_KEYWORDS, nullptr},
    {"test", kzTestFunction, METH_VARARGS, nullptr},
    {"arg", kzArgFunction, METH_VARARGS, nullptr},
    {"args", kzArgsFunction, METH_VARARGS, nullptr},
    {"setOption", kzSetOptionFunction, METH_VARARGS, nullptr},
    {"option", kzOptionFunction, METH_VARARGS, nullptr},
    {"trace", kzTraceFunction, METH_VARARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

constexpr KzModuleParts::NamedType types[] = {
    {"Service", &kzServiceType}, {"Monitor", &kzMonitorType}, {"Storage", &kzStorageType}};

void setParts() {
    KzModuleParts parts;
    parts.functions = functions;
    parts.types = types;
    parts.addSubmodules = [](PyObject*) { kzReadyStorageType(); };
    parts.installStreams = [] {};
    parts.importWidgets = [] {};
    parts.releaseServers = [] {};
    parts.forgetPython = [] {};
    kzSetParts(parts);
}

// References that exist, where the interpreter counts them.
long references() {
#ifdef Py_REF_DEBUG
    return static_cast<long>(_Py_GetRefTotal());
#else
    return 0;
#endif
}

std::string takeException() {
    const KzException exception = KzException::fetch();
    return kzExceptionName(exception.type, exception.value) + ": " + kzStringOf(exception.value);
}

// The value of the expression or, after the statements, of `r`.
CPyRefNull evaluate(const char* source, PyObject* names) {
    CPyRefNull value(PyRun_String(source, Py_eval_input, names, names));
    if (value.get() != nullptr || PyErr_ExceptionMatches(PyExc_SyntaxError) == 0) return value;
    PyErr_Clear();
    value.adopt(PyRun_String(source, Py_file_input, names, names));
    if (value.get() == nullptr) return value;
    PyObject* result = PyDict_GetItemString(names, "r");
    Py_XINCREF(result);
    return CPyRefNull(result);
}

}  // namespace

void TraceLines::trace(const char* name, const char* message, KzResult code) {
    lines.push_back(std::string(name) + ": " + message + (code == 1 ? "" : " at another level"));
}

PythonTest::PythonTest() {
    setParts();
    host.script = FakeScript();
    m_lock.emplace();
    m_scope.emplace(traced);
    traced.lines.clear();
    host.calls.clear();
}

PythonTest::~PythonTest() { m_scope.reset(); }

std::string PythonTest::outcome(const char* source) {
    const std::uint32_t alive = kzLiveInstanceCount();
    std::string text;
    {
        const CPyRef names(PyDict_New(), CPyRef::owned);
        PyDict_SetItemString(names, "__builtins__", PyEval_GetBuiltins());
        PyDict_SetItemString(names, "kz", PyImport_AddModule("kz"));
        const CPyRefNull value(evaluate(source, names));
        if (value.get() == nullptr) text = takeException();
        else if (PyErr_Occurred() != nullptr) text = "result with " + takeException();
        else text = kzStringOf(CPyRefNull(PyObject_Repr(value)));
    }
    PyGC_Collect();  // the names are in a cycle with every function defined among them
    EXPECT_EQ(PyErr_Occurred(), nullptr) << source;
    EXPECT_EQ(kzLiveInstanceCount(), alive) << source << " left " << kzLiveInstanceNames();
    return text;
}

void PythonTest::check(const std::vector<Case>& cases) {
    for (const Case& one : cases) {
        long before = 0;
        for (int round = 0; round < 3; ++round) {
            host.script = FakeScript();
            host.calls.clear();
            if (one.setUp) one.setUp(host.script);
            before = references();
            EXPECT_EQ(outcome(one.source), one.expected) << one.source;
        }
        // What the first rounds have cached is no leak.
        EXPECT_EQ(references(), before) << one.source;
    }
}
