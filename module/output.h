// Output sinks: where everything that the module reports goes. The sinks form one process-wide stack, and its top
// receives all text. Only a thread that holds the interpreter lock sees the stack; other threads write directly to the
// event log. Sinks know nothing of Python.
//
// Writing to a sink is re-entrant: the sink may run any code, including Python code, and that code may write again.
// While a thread is inside a sink, what it writes goes to the topmost sink that it is not inside of. So a sink that
// fails never receives the report of its own failure.
#pragma once

#include "module/sink.h"

#include <string>
#include <string_view>

// RAII guard that pushes a sink. The scopes of one thread nest strictly. A thread that is inside the sink when the
// scope ends keeps the sink alive until it returns.
class COutputScope {
public:
    explicit COutputScope(std::shared_ptr<COutput> sink);
    ~COutputScope();
    COutputScope(const COutputScope&) = delete;
    COutputScope& operator=(const COutputScope&) = delete;

private:
    std::shared_ptr<COutput> m_sink;
};

// Writes a text to the topmost sink that this thread is not inside of. Best effort: a failure to write is dropped. When
// the calls nest too deeply, or the bottom sink keeps failing, the text goes to the process's standard error.
void kzWrite(const char* text, KzResult code) noexcept;
// As above for another origin, one of the names in kz/base/text_output.h; the origin of kzWrite is the module.
void kzWriteFrom(const char* origin, const char* text, KzResult code) noexcept;
// Writes a text to the event log, whatever sink is on top.
void kzLog(const char* text, KzResult code) noexcept;
// Writes a trace line as kzWrite does, if tracing is on.
void kzTrace(const char* name, const char* message, KzResult code) noexcept;

// How the topmost sink accepted a text that was passed to it unchanged.
struct KzPassResult {
    bool isAccepted = false;  // false if the sink accepts only whole lines
    KzResult code = 0;
    int failure = 0;  // the errno of a failed write
};
// Passes a script's text to the topmost sink at once, without splitting it into lines. Needs the interpreter lock.
KzPassResult kzPass(const char* origin, std::string_view text, KzResult level) noexcept;
// Makes the host show everything that was passed so far.
KzPassResult kzPassOn(const char* origin) noexcept;

// The text with each NUL byte written as \x00. The host would take a NUL for the end and lose the rest.
std::string kzVisible(std::string text);

bool kzTracing() noexcept;
void kzSetTracing(bool on) noexcept;

// A hook that is called before the stack changes and before anything else is written, so that buffered text (an
// unfinished line of Python's own output) keeps its place. Null for none.
using KzFlushHook = void (*)() noexcept;
void kzSetFlushHook(KzFlushHook hook) noexcept;

// Empties the stack, and with it releases the log service, at unload.
void kzReleaseOutput() noexcept;
