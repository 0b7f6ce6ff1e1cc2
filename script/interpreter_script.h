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
    void attach(const std::shared_ptr<COutput>& below) override { m_below = below; }

private:
    void place(IKzUnknown* entry);

    std::string m_label;
    std::shared_ptr<COutput> m_below;
    CKzUser_LogService m_log;
    CKzLoc_TextOutput m_stream;
    CKzLoc_LogEntry m_entry;
};

// Exists for exactly one run, with the interpreter lock held throughout.
class CInterpreterScript {
public:
    // Saves the state of the script that has been running so far, and resets it for this one.
    CInterpreterScript(const std::string& name, std::uint32_t executionFlags);
    ~CInterpreterScript();
    CInterpreterScript(const CInterpreterScript&) = delete;
    CInterpreterScript& operator=(const CInterpreterScript&) = delete;

    // Sets the message, which may be null, the argument string and the tuple of arguments. The script is then ready to
    // run.
    void prepare(IKzMessage* message, const char* arguments);
    // Runs the text and returns the code with which it ended. The words become sys.argv; without any, sys.argv holds
    // the script's name and its arguments.
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

// Splits an argument string at blanks. Double quotes group, there are no escapes, and empty tokens are dropped.
std::vector<std::string> splitArguments(const char* text);

// Removes trailing lines that contain only white space or a comment.
void trimTrailingLines(std::string& text);

}  // namespace Python_Script
