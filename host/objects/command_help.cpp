// What a command says about itself, for people. The host keeps no texts of its own beside those.
#include "host/objects/command_help.h"

#include "host/core/object.h"
#include "host/core/ui_hints.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/help.h"
#include "kz/result.h"

#include <string>

namespace kzhost {

namespace {

class CCommandHelp final : public CHosted<"command help", CCommandHelp, CKzIfc_CommandDBHelp> {
public:
    explicit CCommandHelp(IKzUnknown* command) : m_command(command), m_attributes(command) {}

    KzResult commanddbhelp_Command(const char** name) override {
        return give(name, [&](const char** text) { return m_command.Name(text); });
    }
    KzResult commanddbhelp_UserName(const char** name) override {
        return give(name, [&](const char** text) { return m_command.UserName(text); });
    }
    KzResult commanddbhelp_Desc(const char** out) override {
        return give(out, [&](const char** text) { return m_command.Desc(text); });
    }
    KzResult commanddbhelp_Example(const char** out) override {
        return give(out, [&](const char** text) { return m_command.Example(text); });
    }
    std::uint32_t commanddbhelp_ArgCount() override { return m_attributes ? m_attributes.Count() : 0; }
    // An argument without a label is called by its name.
    KzResult commanddbhelp_ArgText(std::uint32_t index, const char** name, const char** out) override {
        if (index >= commanddbhelp_ArgCount()) return KZe_OUTOFBOUNDS;
        const KzResult code = give(out, [&](const char** text) { return m_command.ArgDesc(index, text); });
        if (kzFailed(code)) return code;
        if (kzSucceeded(give(name, [&](const char** text) { return m_command.ArgUserName(index, text); })))
            return KZe_OK;
        return give(name, [&](const char** text) { return m_attributes.Name(index, text); });
    }
    // The hints of the argument's value describe its choices.
    KzResult commanddbhelp_ArgChoice(std::uint32_t index, const char* choice, const char** name,
                                     const char** out) override {
        if (index >= commanddbhelp_ArgCount()) return KZe_OUTOFBOUNDS;
        const HintValues hints = kzAttributeHints(m_attributes.raw(), index)->values();
        for (const HintChoice& each : hints.choices) {
            if (each.value != kzTextOf(choice)) continue;
            *name = kzLend(each.label.value_or(each.value));
            *out = kzLend(each.tip);
            return KZe_OK;
        }
        return KZe_NOTFOUND;
    }

private:
    template <class Ask> static KzResult give(const char** out, const Ask& ask) {
        const std::string text = kzAnswer(ask);
        if (text.empty()) return KZe_NOTFOUND;
        *out = kzLend(text);
        return KZe_OK;
    }

    const CKzUser_Command m_command;
    const CKzUser_Attributes m_attributes;
};

}  // namespace

IKzUnknown* kzMakeCommandHelp(IKzUnknown* command) { return kzMakeObject<CCommandHelp>(command); }

}  // namespace kzhost
