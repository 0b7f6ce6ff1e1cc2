// When a call of the host to Python fails, the host gets only a code. These functions write the reason to the event
// log: which method of which class failed, what was expected, and what came instead. All of them need the interpreter
// lock and leave a pending exception pending.
#pragma once

#include "serve/relay.h"

#include "kz/base/codes.h"

#include <string>

// The method raised the pending exception. Nothing is written if that stands for a silent code or a success, or if a
// report of the exception with the lines that it passed follows.
void kzExplainRaised(PyObject* self, const KzForwardedMethod& method, bool isReported) noexcept;
// The host's input at that index cannot be converted to a Python object; the pending exception says why.
void kzExplainArgument(PyObject* self, const KzForwardedMethod& method, int index) noexcept;
// The value that the method returned does not fit: the output at that index, or for -1 the value as a whole.
void kzExplainOutput(PyObject* self, const KzForwardedMethod& method, PyObject* result, int index,
                     KzResult code) noexcept;
// The constructor raised the pending exception. Written only if that stands for a silent code, since any other
// exception is reported elsewhere.
void kzExplainSilentInit(PyObject* pythonClass) noexcept;

// The pending exception as "Type: text (FILE: line LINE)"; empty when there is none.
std::string kzPendingReason();
// The class with its module, "kzserv.servers.watch.Watch".
std::string kzClassName(PyObject* pythonClass);
// An object as a sentence mentions it: its repr() if that is short and safe to ask for, otherwise its type.
std::string kzMention(PyObject* object);
