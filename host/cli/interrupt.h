// Ctrl-C while scripts run.
#pragma once

#include <csignal>

namespace kzhost {

// While it lives, SIGINT is noted, asks the tasks of all monitors to abort, and is handed on to whoever handled it
// before, as the script's interpreter does. Where nobody did, the signal ends the process as usual. A second one within
// two seconds stops what runs, as `kzhost stop` does: the program, or only the line of a conversation.
class CInterruptScope {
public:
    enum class Second { endsAll, endsLine };

    explicit CInterruptScope(Second second = Second::endsAll);
    ~CInterruptScope();
    CInterruptScope(const CInterruptScope&) = delete;
    CInterruptScope& operator=(const CInterruptScope&) = delete;

    // Whether one came since this was asked last.
    static bool takeInterrupt() noexcept;

private:
    struct sigaction m_former {};
    Second m_second;
};

}  // namespace kzhost
