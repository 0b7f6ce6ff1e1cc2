// The questions of the host's dialogs, and the callback that answers them.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace kzhost {

// The question for one argument.
struct DialogQuestion {
    std::string command;
    std::string argument;  // its name for people
    std::string description;
    std::string expected;   // "an integer"
    std::string present;    // the value that an empty answer keeps; empty for none
    bool isSecret = false;  // a password, which is not to be seen
    std::string problem;    // what was wrong with the last answer
};

// Holds the callback that answers. Without one, every value stays as it is.
class CDialogBoard {
public:
    // Returns the answer: an empty text keeps the present value, no text cancels the dialog.
    using Asker = std::function<std::optional<std::string>(const DialogQuestion&)>;
    void setAsker(Asker asker) {
        const std::lock_guard lock(m_lock);
        m_asker = std::move(asker);
    }
    std::optional<std::string> ask(const DialogQuestion& question) const {
        Asker asker;
        {
            const std::lock_guard lock(m_lock);
            asker = m_asker;
        }
        return asker ? asker(question) : std::string();
    }

private:
    mutable std::mutex m_lock;
    Asker m_asker;
};

}  // namespace kzhost
