// kz.out.
#include "script/out_function.h"

#include "script/python_streams.h"
#include "wrap/result_codes.h"

PyObject* kzOutFunction(PyObject* /*self*/, PyObject* args) {
    return kzPythonEntry([args] {
        std::string text;
        for (Py_ssize_t index = 0; index < PyTuple_GET_SIZE(args); ++index) {
            const std::string part = kzStringOf(PyTuple_GET_ITEM(args, index));
            if (!text.empty() && !part.empty()) text += ' ';
            text += part;
        }
        kzPrintLine(std::move(text));
        Py_RETURN_NONE;
    });
}
