// How a script or console line ended, if its interpreter reports more than a code.
#pragma once

#include "kz/base/text_output.h"

#include <string>

namespace kzhost {

struct ScriptOutcome {
    enum class Kind { unknown, exit, interrupted, reported };
    Kind kind = Kind::unknown;
    // For an exit:
    KzResult code = 0;
    bool isCode = true;  // whether the text starts with a code
    std::string text;    // a code, a message after a colon, or both
};

// The part of an object that receives the outcome.
class CScriptOutcomeListener : public CKzImpl_ScriptOutcome {
public:
    KzResult scriptoutcome_Exit(std::uint32_t code, bool isCode, const char* text) override {
        m_outcome = {ScriptOutcome::Kind::exit, code, isCode, text != nullptr ? text : ""};
        return kzOk;
    }
    KzResult scriptoutcome_Interrupted() override {
        m_outcome.kind = ScriptOutcome::Kind::interrupted;
        return kzOk;
    }
    KzResult scriptoutcome_Reported() override {
        m_outcome.kind = ScriptOutcome::Kind::reported;
        return kzOk;
    }
    const ScriptOutcome& outcome() const { return m_outcome; }

private:
    ScriptOutcome m_outcome;
};

// The slot of such an object.
template <class T> class CHeardOutcome : public CKzIfc_ScriptOutcome<T> {
public:
    using Implementation = CScriptOutcomeListener;
    using CKzIfc_ScriptOutcome<T>::CKzIfc_ScriptOutcome;
};

}  // namespace kzhost
