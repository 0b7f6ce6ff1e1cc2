// Python values in short, for people. None of this runs Python code, so it may be used anywhere.
#pragma once

#include "module/crossing_watch.h"

#include <string>

// One value on one line: numbers and texts as Python writes them, long ones cut, wrappers and other objects by their type.
std::string kzShortText(PyObject* value);
// The arguments, in parentheses, and the result; numbers by the names of their constants where the description says which.
std::string kzShortArguments(const KzCrossing& crossing);
std::string kzShortResult(const KzCrossing& crossing, PyObject* result);
// The pending exception: its type, and its value if that is a text.
std::string kzShortException();
// The name of the result code that the pending exception stands for; empty if only Python code could tell.
std::string kzShortCode();
// "kz.object.Mesh.PointCount", "kz.eval", "MyCommand.cmd_Execute", "script FILE".
std::string kzNameOf(const KzCrossing& crossing);
// The Python line that is running, as "FILE:LINE"; empty if there is none.
std::string kzCurrentLine();
// The line on which a method of the object's class begins, as "FILE:LINE"; empty if it is no function of Python.
std::string kzLineOfMethod(PyObject* self, const char* method);
// As a JSON string with its quotes. Bytes that are not UTF-8 become U+FFFD.
std::string kzJsonString(const std::string& text);
