// Output sinks: where everything that the module reports goes. The sinks form one process-wide stack, and its top
// receives all text. Only a thread that holds the interpreter lock sees the stack; what another one writes goes
// to the event log. Sinks know nothing of Python.
#pragma once

#include "kz/base/object.h"
#include "kz/log.h"

#include <string>
#include <string_view>

class COutput : public CKzObject {
public:
    // One trace line: what happened and in which function; `code` is the entry's level.
    virtual void trace(const char* name, const char* message, KzResult code) = 0;
    // One text with a result code as its level.
    virtual void write(const char* text, KzResult code) = 0;
    // The sink's own log entry; null when it has none.
    virtual IKzLogEntry* entry() { return nullptr; }
    // Told the sink below when pushed, and again when that one is withdrawn before it; null for the bottom one.
    virtual void attach(COutput* /*below*/) {}
};

// Pushes a sink for as long as the scope lives. The scopes of one thread nest strictly.
class COutputScope {
public:
    explicit COutputScope(COutput& sink);
    ~COutputScope();
    COutputScope(const COutputScope&) = delete;
    COutputScope& operator=(const COutputScope&) = delete;

private:
    COutput& m_sink;
};

// Text to the top sink. A failure to write is nobody's failure: it never throws.
void kzWrite(const char* text, KzResult code) noexcept;
// Text to the event log itself, whatever sink is on top.
void kzLog(const char* text, KzResult code) noexcept;
// A trace line to the top sink, only while tracing is on.
void kzTrace(const char* name, const char* message, KzResult code) noexcept;

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
