// Python in the process of the test: exceptions of statements and values of expressions as texts.
#pragma once

#include "module/error_report.h"
#include "module/output.h"

#include <string>
#include <vector>

// Keeps what is traced, one "label: message" for each line.
class TraceLines : public COutput {
public:
    void trace(const char* name, const char* message, KzResult code) override {
        lines.push_back(std::string(name) + ": " + message + (code == 1 ? "" : " at another level"));
    }
    void write(const char* text, KzResult code) override { lines.push_back(text + std::to_string(code)); }
    std::vector<std::string> lines;
};

// The pending exception as "Type: text", which is then no longer pending; empty when there is none.
inline std::string takeException() {
    if (PyErr_Occurred() == nullptr) return {};
    const KzException exception = KzException::fetch();
    return kzExceptionName(exception.type, exception.value) + ": " + kzStringOf(exception.value);
}

// Runs statements and returns the exception that they raise; empty if there is none.
inline std::string runPython(const std::string& source, PyObject* names) {
    const CPyRefNull done(PyRun_String(source.c_str(), Py_file_input, names, names));
    return takeException();
}

// The value of the expression, as str(), or its exception.
inline std::string valueInPython(const std::string& source, PyObject* names) {
    const CPyRefNull value(PyRun_String(source.c_str(), Py_eval_input, names, names));
    return value.get() != nullptr ? kzStringOf(value) : takeException();
}
