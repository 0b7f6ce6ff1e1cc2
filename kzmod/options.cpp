// kz.setOption, kz.option and kz.trace, and kz.arg and kz.args, which return the running script's arguments.
#include "kzmod/call.h"
#include "kzmod/functions.h"
#include "module/output.h"
#include "module/runtime.h"

#include <string_view>

namespace {

constexpr std::string_view anglesOption = "queryAnglesAs";
constexpr std::string_view degrees = "degrees";
constexpr std::string_view radians = "radians";

PyObject* unknownOption(CCall& call, const char* name) { return call.fail(kzFormat("unknown option \"%s\"", name)); }

// None means that no script is running. Required behaviour: null is returned without an exception then, so the caller
// gets the interpreter's own error for that.
PyObject* scriptObject(PyObject* object) {
    if (object == Py_None) return nullptr;
    Py_INCREF(object);
    return object;
}

}  // namespace

PyObject* kzSetOptionFunction(PyObject* /*self*/, PyObject* args) {
    return kzCall("kz.setOption", [args](CCall& call) -> PyObject* {
        const char* name = nullptr;
        const char* value = nullptr;
        if (PyArg_ParseTuple(args, "ss", &name, &value) == 0) return kzParseFailed();
        if (name != anglesOption) return unknownOption(call, name);
        if (value != degrees && value != radians)
            return call.fail(kzFormat("unknown value for \"queryAnglesAs\": \"%s\"", value));
        PythonRuntime::running().anglesInDegrees = value == degrees;
        Py_RETURN_NONE;
    });
}

PyObject* kzOptionFunction(PyObject* /*self*/, PyObject* args) {
    return kzCall("kz.option", [args](CCall& call) -> PyObject* {
        const char* name = nullptr;
        if (PyArg_ParseTuple(args, "s", &name) == 0) return kzParseFailed();
        if (name != anglesOption) return unknownOption(call, name);
        return PyString_FromString((PythonRuntime::running().anglesInDegrees ? degrees : radians).data());
    });
}

PyObject* kzTraceFunction(PyObject* /*self*/, PyObject* args) {
    return kzCall("kz.trace", [args](CCall& call) -> PyObject* {
        PyObject* argument = nullptr;
        // Required behaviour: without an argument, this returns the flag and leaves the parser's error pending. Scripts
        // read the flag that way inside a try block.
        if (PyArg_ParseTuple(args, "O", &argument) == 0) return PyBool_FromLong(kzTracing() ? 1 : 0);
        if (!PyBool_Check(argument)) return call.fail("kz.trace requires a boolean argument");
        const bool on = argument == Py_True;
        // Traced before and after the change: only one of the two lines is written, while tracing is on.
        call.trace(on ? "Enabled" : "Disabled");
        kzSetTracing(on);
        call.trace(on ? "Enabled" : "Disabled");
        return PyBool_FromLong(kzTracing() ? 1 : 0);
    });
}

PyObject* kzArgFunction(PyObject* /*self*/, PyObject* /*args*/) {
    return kzCall("kz.arg", [](CCall&) { return scriptObject(PythonRuntime::running().argument); });
}

PyObject* kzArgsFunction(PyObject* /*self*/, PyObject* /*args*/) {
    return kzCall("kz.args", [](CCall&) { return scriptObject(PythonRuntime::running().arguments); });
}
