// Statements of the console as the compiler sees them: when one is whole, which features earlier ones have switched on,
// and where a wrong one goes wrong.
#pragma once

#include "module/py_ref.h"
#include "wrap/result_codes.h"

#include <string>

namespace Python_LineInterp {

// Whether a text is a whole statement. Newlines that the test appends stay in the text.
enum class Completeness { complete, incomplete, error };
Completeness checkCompleteness(std::string& text, int futures = 0);

// Compiles the text, from Py_eval_input or Py_file_input on, with features of "from __future__ import" and adds those that
// the text imports itself. Null with an exception if that fails.
PyObject* compileStatement(const std::string& text, int start, int& futures);

// The line in which a syntax error was found and, below, a caret at the place; empty for other exceptions.
std::string markedSource(const KzException& exception);

}  // namespace Python_LineInterp
