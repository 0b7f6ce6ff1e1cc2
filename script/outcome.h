// Reports how scripts and console lines end, to hosts that want to know more than a result code.
#pragma once

#include "wrap/result_codes.h"

#include "kz/base/text_output.h"

// Reports the end of one run to the script's message or the line's execution. A no-op if that does not offer
// IKzScriptOutcome.
class CScriptOutcome {
public:
    explicit CScriptOutcome(IKzUnknown* listener) { m_listener.set(listener); }
    explicit operator bool() const { return static_cast<bool>(m_listener); }

    // Reports sys.exit(): the code that its value stands for, and the value's text.
    void exit(const KzException& exception, KzResult code) const;
    // Reports any other exception. Its text is in the log.
    void fail(const KzException& exception) const;

private:
    CKzLoc_ScriptOutcome m_listener;
};
