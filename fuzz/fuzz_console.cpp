// The console's question whether what was typed is a whole statement, asked of anything that can be typed.
#include "fuzz/fuzzer.h"

#include "module/python.h"
#include "script/statement.h"

#include <algorithm>
#include <string>

namespace {

void startPython() {
    Py_NoSiteFlag = 1;
    Py_InitializeEx(0);
}

bool compiles(const std::string& text) {
    int futures = 0;
    PyObject* code = Python_LineInterp::compileStatement(text, Py_file_input, futures);
    Py_XDECREF(code);
    PyErr_Clear();
    return code != nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using Python_LineInterp::Completeness;
    static const bool started = (startPython(), true);
    expect(started, "Python runs");
    std::string typed(reinterpret_cast<const char*>(data), size);
    typed.resize(std::min(typed.find('\0'), typed.size()));
    std::string text = typed;
    const Completeness answer = Python_LineInterp::checkCompleteness(text);
    expect(PyErr_Occurred() == nullptr, "the answer leaves no exception");
    expect(text.starts_with(typed), "what was typed stays");
    expect(text.find_first_not_of('\n', typed.size()) == std::string::npos, "only newlines are added");
    if (answer == Completeness::complete) expect(text == typed, "a whole statement stays as it is");
    expect(compiles(typed) == (answer == Completeness::complete), "a whole statement is one that compiles");
    return 0;
}
