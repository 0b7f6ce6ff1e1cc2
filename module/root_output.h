// The bottom of the output stack, which writes to the host's event log.
#pragma once

#include "module/sink.h"

#include <string>

// A trace line in the host log's inline style markup.
std::string kzTraceMarkup(const char* name, const char* message);

// Creates a log entry that names its origin; `entry` stays empty if the log cannot create one.
void kzMakeEntry(CKzLoc_Unknown& entry, IKzLogService* log, const char* origin, const char* text, KzResult code);

// Writes entries of the log subsystem "python".
class CRootOutput : public COutput {
public:
    CRootOutput();
    void trace(const char* name, const char* message, KzResult code) override;
    void write(const char* text, KzResult code) override { writeFrom(kzFromModule, text, code); }
    void writeFrom(const char* origin, const char* text, KzResult code) override;
    IKzTextOutput* stream() override { return m_stream.ptr(); }

private:
    CKzUser_LogService m_service;
    CKzLoc_TextOutput m_stream;
    CKzLoc_Log m_subsystem;  // looked up on the first write
};
