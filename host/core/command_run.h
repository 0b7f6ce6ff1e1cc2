// The execution of any command: it notifies listeners, reports failures and writes the history. The command's message tells
// how the last execution went, or why its arguments were refused or a query failed.
#pragma once

#include "host/core/command_environment.h"
#include "host/core/command_text.h"
#include "host/core/message.h"
#include "host/core/object.h"
#include "host/state/function_ref.h"

#include "kz/command.h"

#include <string>
#include <utility>

namespace kzhost {

class CCommandArguments;

class CCommandRun {
public:
    CCommandRun(CommandEnvironmentPtr environment, std::string name)
        : m_environment(std::move(environment)), m_name(std::move(name)) {}

    // Calls `body` with the flags of the execution; it returns a code or throws one or a CommandTextError. Afterwards the
    // message holds the outcome.
    KzResult execute(IKzUnknown* command, std::uint32_t flags, CFunctionRef<KzResult(std::uint32_t flags)> body);
    // As above for a query, which only leaves its reason in the message.
    KzResult query(CFunctionRef<KzResult()> body);
    // Puts a failure into the message.
    void fail(KzResult code, const std::string& text);
    // Copies the message of a module's command, which may leave it to the host to name the command.
    void adopt(IKzMessage& message);
    const CHostRef<CMessage>& message() const { return m_message; }

private:
    struct Verdict {
        KzResult code = 0;
        std::string text;  // a reason that was thrown
    };
    template <class Body> Verdict verdictOf(const Body& body) const;
    KzResult prepare(CCommandArguments& arguments, std::uint32_t flags);
    bool isKept(std::uint32_t what, std::uint32_t flags) const;
    std::string reason() const;
    void tell(const Verdict& verdict);

    CommandEnvironmentPtr m_environment;
    std::string m_name;
    CHostRef<CMessage> m_message = CHostRef<CMessage>::make();
};

}  // namespace kzhost
