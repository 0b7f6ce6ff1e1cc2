// One running script: the state of the interpreter that belongs to it, its output sink, and how it ended.
#pragma once

#include "module/error_report.h"
#include "module/output.h"
#include "module/runtime.h"
#include "wrap/result_codes.h"

#include "kz/message.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Python_Script {

// The output sink of a script run: one entry in the log subsystem "scripts", or below the entry of the script that
// runs this one; everything that the script writes becomes a child of it.
class CScriptOutput : public COutput {
public:
    explicit CScriptOutput(std::string label);
    void trace(const char* name, const char* message, KzResult code) override;
    void write(const char* text, KzResult code) override { writeFrom(kzFromModule, text, code); }
    void writeFrom(const char* origin, const char* text, KzResult code) override;
    IKzTextOutput* stream() override { return m_stream.ptr(); }
    IKzLogEntry* entry() override;
    void attach(std::shared_ptr<COutput> below) override { m_below = std::move(below); }

private:
    void place(IKzUnknown* entry);

    std::string m_label;
    std::shared_ptr<COutput> m_below;
    CKzUser_LogService m_log;
    CKzLoc_TextOutput m_stream;
    CKzLoc_LogEntry m_entry;
};

// Lives exactly as long as one run. The interpreter lock is held all the while.
class CInterpreterScript {
public:
    // Saves what belongs to the running script and takes it for this one. `message` may be null.
    CInterpreterScript(const std::string& name, std::uint32_t executionFlags);
    ~CInterpreterScript();
    CInterpreterScript(const CInterpreterScript&) = delete;
    CInterpreterScript& operator=(const CInterpreterScript&) = delete;

    // Attaches the message, sets the argument string and its tuple, and makes the script ready to run.
    void prepare(IKzMessage* message, const char* arguments);
    // Runs the text and says how it ended. The words are what sys.argv is to hold; none, and they are the script's name
    // with the tuple of its arguments.
    KzResult execute(const char* text, std::vector<std::string> words);

private:
    KzResult analyseEnd();
    KzResult reportExit(const KzException& exception);
    KzResult reportFailure(const KzException& exception);
    void tell(const char* key, const char* first, const char* second = nullptr);

    MainInterpreter& m_interpreter;
    std::string m_name;
    KzResult m_status;
    IKzMessage* m_message = nullptr;
    CPyRef m_savedArgument;
    CPyRef m_savedArguments;
    std::uint32_t m_savedFlags;
    bool m_savedAngles;
    int m_savedRunFlag;
    std::optional<COutputScope> m_scope;
};

// Splits an argument string: blanks separate, double quotes hold together, nothing escapes, empty tokens are dropped.
std::vector<std::string> splitArguments(const char* text);

// Cuts trailing lines that hold nothing but white space or a comment. The walk stops at the last line with code on it.
void trimTrailingLines(std::string& text);

}  // namespace Python_Script
