// Which function, type and builder of which part stands where in the kz module.
#include "plugin/parts.h"

#include "kzmod/functions.h"
#include "kzmod/storage_type.h"
#include "kzmod/types.h"
#include "module/checks.h"
#include "module/parts.h"
#include "observe/watchers.h"
#include "script/out_function.h"
#include "script/python_streams.h"
#include "serve/bless.h"
#include "serve/leftovers.h"
#include "wrap/registration.h"
#include "wrap/result_codes.h"
#include "wrap/widget_bridge.h"

#include "kz/tables.h"
#include "kz_version.h"

namespace {

// The interpreter tells a function with keywords by its flags; the table has one type for both.
PyCFunction keywordFunction(PyCFunctionWithKeywords function) {
    return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(function));
}

PyMethodDef functions[] = {
    {"out", kzOutFunction, METH_VARARGS, "Output to log."},
    {"eval", kzEvalFunction, METH_VARARGS, "Evaluate a command string."},
    {"eval1", kzEval1Function, METH_VARARGS, "Evaluate a command string, returning a single value."},
    {"evalN", kzEvalNFunction, METH_VARARGS, "Evaluate a command string, returning a tuple."},
    {"queryToggle", kzQueryToggleFunction, METH_VARARGS, "Query a command with a ToggleValue style argument."},
    {"command", keywordFunction(kzCommandFunction), METH_VARARGS | METH_KEYWORDS,
     "Execute a command with a variable argument list."},
    {"test", kzTestFunction, METH_VARARGS, "Test the state of a toggle argument."},
    {"arg", kzArgFunction, METH_VARARGS, "Get the argument string for the script."},
    {"args", kzArgsFunction, METH_VARARGS, "Get the parsed argument tuple for the script."},
    {"setOption", kzSetOptionFunction, METH_VARARGS, "Set options that affect how the kz methods act"},
    {"option", kzOptionFunction, METH_VARARGS, "Get the current state of an option"},
    {"trace", kzTraceFunction, METH_VARARGS, "Toggle extra Event Log output for each kz function call."},
    {"bless", kzBlessFunction, METH_VARARGS, kzBlessDoc},
    {"testifc", kzTestifcFunction, METH_VARARGS, kzTestifcDoc},
    {"throw", kzThrowFunction, METH_VARARGS, "Raise a result code exception.\n\n       kz.throw(code, [quiet])"},
    {"notimpl", kzNotimplFunction, METH_VARARGS, "Raise 'not implemented' exception."},
    {"excResult", kzExcResultFunction, METH_VARARGS, "Get the exception as an KzResult code."},
    {"outEx", kzOutExFunction, METH_VARARGS, "Output the exception state to the log."},
    {"lastResult", kzLastResultFunction, METH_VARARGS,
     "Get the result code from the last service or object method called."},
    {"extract", kzExtractFunction, METH_VARARGS, "Extract the Python object referenced from a COM object wrapper."},
    {"getQWidget", kzGetQWidgetFunction, METH_VARARGS, "Converts a PyLong object to a PySide QWidget"},
    {nullptr, nullptr, 0, nullptr},
};

constexpr KzModuleParts::NamedType types[] = {{"Service", &kzServiceType}, {"Monitor", &kzMonitorType}};

void addSubmodules(PyObject* kz) {
    kzNonNegative(PyModule_AddStringConstant(kz, "__version__", KZ_VERSION));
    kzNonNegative(PyModule_AddStringConstant(kz, "__description__", kzDescriptionHash));
    kzReadyStorageType();
    kzAddType(kz, "Storage", kzStorageType);
    kzAddSubmodules(kz, kzStorageType);
    kzAddServingModule();
    kzObserveModule(kz, functions, {&kzServiceType, &kzMonitorType});
}

void releaseServers() {
    kzPrepareEndOfWatching();
    kzReleaseServers();
}

void forgetPython() {
    kzForgetServers();
    kzForgetTypes();
    kzForgetResultNames();
}

void finish(bool hasEnded) {
    if (hasEnded) kzTellRemainingObjects();
    kzEndWatching();
}

}  // namespace

void kzComposeParts() {
    kzStartWatching();
    KzModuleParts parts;
    parts.functions = functions;
    parts.types = types;
    parts.addSubmodules = addSubmodules;
    parts.installStreams = kzInstallStreams;
    parts.importWidgets = kzImportWidgets;
    parts.releaseServers = releaseServers;
    parts.forgetPython = forgetPython;
    parts.finish = finish;
    kzSetParts(parts);
    kzSetServing(kzPythonServing());
}
