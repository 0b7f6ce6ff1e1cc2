// The execution of any command: it notifies listeners, reports failures and writes the history.
#pragma once

#include "host/core/command_environment.h"
#include "host/core/command_text.h"
#include "host/core/message.h"
#include "host/core/object.h"

#include "kz/command.h"

#include <functional>
#include <string>
#include <utility>

namespace kzhost {

class CCommandRun {
public:
    explicit CCommandRun(CommandEnvironmentPtr environment) : m_environment(std::move(environment)) {}

    // Calls `body`, which returns a code or throws one or a CommandTextError. Afterwards the message holds the outcome.
    KzResult execute(IKzUnknown* command, const std::string& name, std::uint32_t flags,
                     const std::function<KzResult()>& body);
    const CHostRef<CMessage>& message() const { return m_message; }

private:
    KzResult prepare(IKzUnknown* command, std::uint32_t flags);
    void remember(IKzUnknown* command, const std::string& name, std::uint32_t flags);
    void tell(const std::string& name, KzResult code, const std::string& text, std::uint32_t flags);

    CommandEnvironmentPtr m_environment;
    CHostRef<CMessage> m_message = CHostRef<CMessage>::make();
};

}  // namespace kzhost
