// Whether commands are enabled.
#include "host/core/command_states.h"

#include "host/core/command_registry.h"
#include "host/core/command_text.h"
#include "host/core/message.h"
#include "host/core/notifier_table.h"
#include "host/core/refusal.h"
#include "host/state/command_state.h"

#include "kz/command.h"
#include "kz/listener.h"

#include <utility>

namespace kzhost {

CCommandStates::CCommandStates(std::shared_ptr<CCommandRegistry> registry, std::shared_ptr<CNotifierTable> notifiers,
                               std::shared_ptr<CCommandState> commands)
    : m_registry(std::move(registry)), m_notifiers(std::move(notifiers)), m_commands(std::move(commands)) {}

// A command that changes something while it is asked has all of them asked once more, but not without end.
void CCommandStates::changed() {
    if (m_notifiers->argumentsOf(KZsNOTIFIER_CMDSTATE).empty()) return;
    {
        const std::lock_guard lock(m_lock);
        m_isDue = true;
        if (m_isAsking || m_commands->depth() > 0) return;
        m_isAsking = true;
    }
    constexpr int rounds = 3;
    try {
        for (int round = 0; isAskedAgain(round < rounds); ++round) refresh();
    } catch (...) {
        isAskedAgain(false);
        throw;
    }
}

// Ending and looking for what other threads have changed meanwhile are one step, or else that would be lost.
bool CCommandStates::isAskedAgain(bool mayAsk) {
    const std::lock_guard lock(m_lock);
    m_isAsking = mayAsk && std::exchange(m_isDue, false);
    return m_isAsking;
}

void CCommandStates::refresh() {
    for (const std::string& name : m_notifiers->argumentsOf(KZsNOTIFIER_CMDSTATE)) {
        const bool isNow = isEnabled(name);
        {
            const std::lock_guard lock(m_lock);
            const auto [entry, isNew] = m_enabled.try_emplace(name, isNow);
            if (!isNew && std::exchange(entry->second, isNow) == isNow) continue;
        }
        m_notifiers->tell(KZsNOTIFIER_CMDSTATE, name, KZfNOTIFY_DISABLE);
    }
}

// A command that there is not, or that raises when it is asked, is not enabled.
bool CCommandStates::isEnabled(const std::string& name) const {
    try {
        CKzUser_Command command;
        const auto message = CHostRef<CMessage>::make();
        return !kzRefuses(m_registry->spawn(name, command).Enable(message.raw()));
    } catch (const CommandTextError&) {
        return false;
    } catch (KzResult) {
        return false;
    }
}

}  // namespace kzhost
