// kz.out.
#include "script/out_function.h"

#include "module/output.h"
#include "wrap/result_codes.h"

PyObject* kzOutFunction(PyObject* /*self*/, PyObject* args) {
    return kzPythonEntry([args] {
        std::string text;
        for (Py_ssize_t index = 0; index < PyTuple_GET_SIZE(args); ++index) {
            if (index > 0) text += ' ';
            text += kzStringOf(PyTuple_GET_ITEM(args, index));
        }
        kzWrite(text.c_str(), 1);
        Py_RETURN_NONE;
    });
}
