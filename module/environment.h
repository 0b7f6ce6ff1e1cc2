// The user's PYTHON... environment variables, without the values that would make the interpreter end the process.
#pragma once

#include <string>

// Some values make the interpreter end the process during its start: a hash seed that is not a number, or an import path
// that contains the library of another Python, from which it would load its codecs. In a host, that would end everybody's
// work. So the interpreter starts with these variables ignored. Afterwards the functions below put the valid values into
// effect, and write a line to the log for each one that they leave out. They never change the environment itself, because
// other threads may be reading it.

// Whether the folder contains the library of this version of Python.
bool kzIsHome(const std::string& folder);
// PYTHONHOME; empty if it is not set or contains no such library.
std::string kzHomeOfEnvironment();

// Starts the interpreter, without its own signal handlers. Its home and program name must have been set.
void kzInitialiseInEnvironment();
// Inserts the folders of PYTHONPATH at the front of sys.path, in their order.
void kzAddEnvironmentPath();
