// Output sinks: where everything that the module reports goes. The sinks form one process-wide stack, and its top
// receives all text. Only a thread that holds the interpreter lock sees the stack; what another one writes goes
// to the event log. Sinks know nothing of Python.
//
// Telling a sink may run any code, Python's included, and that code may write in turn. While a thread is telling a sink,
// what it writes goes to the topmost sink that it is not telling, so a sink that fails is never told of its own failure.
#pragma once

#include "module/sink.h"

#include <string>
#include <string_view>

// Pushes a sink for as long as the scope lives. The scopes of one thread nest strictly. A thread that is telling the sink
// when the scope ends keeps the sink alive until it is through.
class COutputScope {
public:
    explicit COutputScope(std::shared_ptr<COutput> sink);
    ~COutputScope();
    COutputScope(const COutputScope&) = delete;
    COutputScope& operator=(const COutputScope&) = delete;

private:
    std::shared_ptr<COutput> m_sink;
};

// Text to the topmost sink that this thread is not telling. A failure to write is nobody's failure: it never throws. Where
// telling nests too deep, or the bottom sink itself keeps failing, the text goes to the process's standard error.
void kzWrite(const char* text, KzResult code) noexcept;
// The same with who wrote it: one of the names in kz/base/text_output.h. What kzWrite writes is from the module.
void kzWriteFrom(const char* origin, const char* text, KzResult code) noexcept;
// Text to the event log itself, whatever sink is on top.
void kzLog(const char* text, KzResult code) noexcept;
// A trace line, by the way of kzWrite, only while tracing is on.
void kzTrace(const char* name, const char* message, KzResult code) noexcept;

// How the topmost sink took text as it was written.
struct KzPassed {
    bool isTaken = false;  // false where only whole lines can be told
    KzResult code = 0;
    int failure = 0;  // the system's number of why it could not be written
};
// Text of a script, without holding any of it back and without telling the lines in it. Needs the interpreter lock.
KzPassed kzPass(const char* origin, std::string_view text, KzResult level) noexcept;
// Has the host show what was passed so far.
KzPassed kzPassOn(const char* origin) noexcept;

// The text with its zero bytes written as \x00: one would end it for the host, and what follows would be lost.
std::string kzVisible(std::string text);

bool kzTracing() noexcept;
void kzSetTracing(bool on) noexcept;

// Called before the stack changes and before anything else is written, so that text still held back (an unfinished
// line of Python's own output) keeps its place. Null when nobody holds text back.
using KzFlushHook = void (*)() noexcept;
void kzSetFlushHook(KzFlushHook hook) noexcept;

// Empties the stack and gives back the log service, at unload.
void kzReleaseOutput() noexcept;
