// Which function, type and builder of which part stands where in the kz module.
#include "plugin/parts.h"

#include "module/parts.h"
#include "script/out_function.h"
#include "script/python_streams.h"
#include "wrap/result_codes.h"

namespace {

PyMethodDef functions[] = {
    {"out", kzOutFunction, METH_VARARGS, "Output to log."},
    {"throw", kzThrowFunction, METH_VARARGS, "Raise a result code exception.\n\n       kz.throw(code, [quiet])"},
    {"notimpl", kzNotimplFunction, METH_VARARGS, "Raise 'not implemented' exception."},
    {"excResult", kzExcResultFunction, METH_VARARGS, "Get the exception as an KzResult code."},
    {"outEx", kzOutExFunction, METH_VARARGS, "Output the exception state to the log."},
    {"lastResult", kzLastResultFunction, METH_VARARGS,
     "Get the result code from the last service or object method called."},
    {nullptr, nullptr, 0, nullptr},
};

}  // namespace

void kzComposeParts() {
    KzModuleParts parts;
    parts.functions = functions;
    parts.addSubmodules = [](PyObject*) {};
    parts.installStreams = kzInstallStreams;
    parts.importWidgets = [] {};
    parts.releaseServers = [] {};
    parts.forgetPython = kzForgetResultNames;
    kzSetParts(parts);
}
