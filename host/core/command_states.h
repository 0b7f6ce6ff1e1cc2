// Whether commands are enabled, for those who show that: their clients hear of it through the notifier of the command's state.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace kzhost {

class CCommandRegistry;
class CCommandState;
class CNotifierTable;

class CCommandStates {
public:
    CCommandStates(std::shared_ptr<CCommandRegistry> registry, std::shared_ptr<CNotifierTable> notifiers,
                   std::shared_ptr<CCommandState> commands);

    // Something has changed on which commands may depend. Those that somebody watches are asked at once, or when the command
    // that runs on this thread has ended.
    void changed();

private:
    bool isAskedAgain(bool mayAsk);
    void refresh();
    bool isEnabled(const std::string& name) const;

    std::shared_ptr<CCommandRegistry> m_registry;
    std::shared_ptr<CNotifierTable> m_notifiers;
    std::shared_ptr<CCommandState> m_commands;
    std::mutex m_lock;                      // never held while a command is asked
    std::map<std::string, bool> m_enabled;  // as the clients were last told
    bool m_isAsking = false, m_isDue = false;
};

}  // namespace kzhost
