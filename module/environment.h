// The user's PYTHON... environment variables: what they say, without what the interpreter would die of.
#pragma once

#include <string>

// Some values make the interpreter end the process while it starts: a hash seed that is no number, or an import path with
// another Python's library, which it would read its own codecs from. In a host that is everybody's process. So the
// interpreter starts without looking at these variables; what is sound in them is then put into effect here, and what is
// not is left out, with a line in the log that names the variable. The environment itself is never changed: other
// threads may be reading it.

// Whether the folder has the library of this version of Python.
bool kzIsHome(const std::string& folder);
// PYTHONHOME; empty when it is not set or holds no such library.
std::string kzHomeOfEnvironment();

// Starts the interpreter, without its own signal handlers. Home and program name have been set.
void kzInitialiseInEnvironment();
// Puts the folders of PYTHONPATH in front of sys.path, in their order.
void kzAddEnvironmentPath();
