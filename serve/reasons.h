// What the event log is told beside the code when a call of the host to Python fails: which method of which class, what
// was expected and what came. Everything here needs the interpreter lock and leaves a pending exception pending.
#pragma once

#include "serve/relay.h"

#include "kz/base/codes.h"

#include <string>

// The method raised the pending exception. Silent codes and codes of success are no failure to explain.
void kzExplainRaised(PyObject* self, const KzForwardedMethod& method) noexcept;
// The host's input at that index cannot be made into an argument; the pending exception says why.
void kzExplainArgument(PyObject* self, const KzForwardedMethod& method, int index) noexcept;
// What the method returned does not fit: the output at that index, or with -1 the whole.
void kzExplainOutput(PyObject* self, const KzForwardedMethod& method, PyObject* returned, int index,
                     KzResult code) noexcept;
// The instance could not be made because of the pending exception, which carries a silent code: the one case that
// nothing else tells.
void kzExplainSilentInit(PyObject* pythonClass) noexcept;

// The pending exception as "Type: text (FILE: line LINE)"; empty when there is none.
std::string kzPendingReason();
// The class with its module, "kzserv.servers.watch.Watch".
std::string kzClassName(PyObject* pythonClass);
// What an object is, for a sentence: the value itself where that is short, else its type.
std::string kzWhatCame(PyObject* object);
