// The interface of a destination for text.
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
    // As above, with the text's origin: one of the names in kz/base/text_output.h.
    virtual void writeFrom(const char* /*origin*/, const char* text, KzResult code) { write(text, code); }
    // The stream that receives scripts' text as it is written, in addition to the lines; null if the host accepts only
    // lines.
    virtual IKzTextOutput* stream() { return nullptr; }
    // The sink's own log entry; null when it has none.
    virtual IKzLogEntry* entry() { return nullptr; }
    // Called with the sink below when this one is pushed, and again when the sink below is removed first; null at the
    // bottom.
    virtual void attach(const std::shared_ptr<COutput>& /*below*/) {}
};
