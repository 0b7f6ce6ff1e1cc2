// What a destination of text is.
#pragma once

#include "kz/base/object.h"
#include "kz/base/text_output.h"
#include "kz/log.h"

#include <memory>

class COutput : public CKzObject {
public:
    // One trace line: what happened and in which function; `code` is the entry's level.
    virtual void trace(const char* name, const char* message, KzResult code) = 0;
    // One text with a result code as its level.
    virtual void write(const char* text, KzResult code) = 0;
    // The same with who wrote it: one of the names in kz/base/text_output.h.
    virtual void writeFrom(const char* /*origin*/, const char* text, KzResult code) { write(text, code); }
    // Where scripts' text goes as it is written, besides the lines that it makes; null when the host takes lines alone.
    virtual IKzTextOutput* stream() { return nullptr; }
    // The sink's own log entry; null when it has none.
    virtual IKzLogEntry* entry() { return nullptr; }
    // Told the sink below when pushed, and again when that one is withdrawn before it; null for the bottom one.
    virtual void attach(std::shared_ptr<COutput> /*below*/) {}
};
