// Python with the kz module's own functions and types, on the scripted host.
#include "python_fixture.h"

namespace {

// References that exist, where the interpreter counts them.
long references() {
#ifdef Py_REF_DEBUG
    return static_cast<long>(_Py_GetRefTotal());
#else
    return 0;
#endif
}

// The value of the expression or, after the statements, of `r`.
CPyRefNull evaluate(const std::string& source, PyObject* names) {
    CPyRefNull value(PyRun_String(source.c_str(), Py_eval_input, names, names));
    if (value.get() != nullptr || PyErr_ExceptionMatches(PyExc_SyntaxError) == 0) return value;
    PyErr_Clear();
    value.adopt(PyRun_String(source.c_str(), Py_file_input, names, names));
    if (value.get() == nullptr) return value;
    PyObject* result = PyDict_GetItemString(names, "r");
    Py_XINCREF(result);
    return CPyRefNull(result);
}

}  // namespace

PythonTest::PythonTest() {
    m_lock.emplace();
    m_scope.emplace(std::shared_ptr<COutput>(std::shared_ptr<void>(), &traced));
    host.set();
}

PythonTest::~PythonTest() {
    m_scope.reset();
    m_lock.reset();
}

std::string PythonTest::outcome(const std::string& source) {
    const std::string alive = CPluginHost::alive();
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
    EXPECT_EQ(CPluginHost::alive(), alive) << source;
    return text;
}

std::vector<std::string> PythonTest::linesOf(const char* source) {
    kzSetTracing(true);
    outcome(source);
    kzSetTracing(false);
    return std::exchange(traced.lines, {});
}

void PythonTest::check(const std::vector<Case>& cases, const std::string& before, const std::string& after) {
    for (const Case& one : cases) {
        long counted = 0;
        for (int round = 0; round < 3; ++round) {
            host.set(one.setUp);
            counted = references();
            EXPECT_EQ(outcome(before + one.source + after), one.expected) << one.source;
        }
        // What the first rounds have cached is no leak.
        EXPECT_EQ(references(), counted) << one.source;
    }
}
