// The watches of this process, as its environment asks for them:
//
//   KZ_TRACE_CALLS=FILE    each call, as a trace that viewers of the Chrome format open (call_trace.h)
//   KZ_PROFILE_CALLS=FILE  the time of the calls, summed by method; - is standard error (call_profile.h)
//   KZ_RECORD=FILE         what the host answers to a script (python_watch.h)
//   KZ_REPLAY=FILE         plays a recording to a script, in place of the host
//   KZ_LEAKS=report|error  what is still alive at the end (leak_report.h)
//
// The variables work in any host. In a file name, %p stands for the number of the process.
#pragma once

#include "module/python.h"

#include <initializer_list>

// Reads the environment, once, and watches if it asks for anything. Called at load.
void kzStartWatching() noexcept;
// After the kz module has been built: observes its functions and types. A no-op if nobody watches.
void kzObserveModule(PyObject* kz, const PyMethodDef* functions, std::initializer_list<PyTypeObject*> types) noexcept;
// Before the interpreter ends, with its lock held.
void kzPrepareEndOfWatching() noexcept;
// After the interpreter has ended, or has been left as it is because threads are inside: the watches write what they have.
void kzEndWatching() noexcept;
