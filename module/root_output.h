// The bottom of the output stack: writes into the host's event log.
#pragma once

#include "module/sink.h"

#include <string>

// A trace line in the host log's inline style markup.
std::string kzTraceMarkup(const char* name, const char* message);

// A new entry of the log that says who wrote it; empty when the log cannot make one.
void kzMakeEntry(CKzLoc_Unknown& entry, IKzLogService* log, const char* origin, const char* text, KzResult code);

// Entries of the log subsystem "python".
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
    CKzLoc_Log m_subsystem;  // looked up when something is first written
};
