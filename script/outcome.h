// How scripts and console lines end, told to a host that wants to know more than a result code.
#pragma once

#include "wrap/result_codes.h"

#include "kz/base/text_output.h"

// Whoever hears of one run's end: the message of a script, the execution of a line. Says nothing to others.
class CScriptOutcome {
public:
    explicit CScriptOutcome(IKzUnknown* listener) { m_listener.set(listener); }
    explicit operator bool() const { return static_cast<bool>(m_listener); }

    // sys.exit(): the code that its value stands for, and the value's text.
    void exit(const KzException& exception, KzResult code) const;
    // Any other exception, which the log has.
    void fail(const KzException& exception) const;

private:
    CKzLoc_ScriptOutcome m_listener;
};
