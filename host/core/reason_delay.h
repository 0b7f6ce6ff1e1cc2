// Reasons for failures that wait while the documents are locked.
#pragma once

#include <utility>

namespace kzhost {

// How many scopes of this thread hold reasons back, and whether there are any.
extern thread_local constinit int theReasonDelays;
extern thread_local constinit bool theReasonsWait;
// Writes what waits.
void kzTellReasons() noexcept;

// While one lives, what this thread gives as reasons waits; the end of the outermost one writes it to the log. A listener of
// the log may run Python, or wait for another thread that wants the lock which the scope holds.
class CReasonDelay {
public:
    CReasonDelay() noexcept { ++theReasonDelays; }
    ~CReasonDelay() {
        if (--theReasonDelays == 0 && theReasonsWait) kzTellReasons();
    }
    // Each counts for itself.
    CReasonDelay(const CReasonDelay& /*other*/) noexcept : CReasonDelay() {}
    CReasonDelay& operator=(const CReasonDelay& other) noexcept = default;

    // The thread lets go of the lock for as long as this lives.
    class Pause {
    public:
        Pause() noexcept : m_delays(std::exchange(theReasonDelays, 0)) {
            if (theReasonsWait) kzTellReasons();
        }
        ~Pause() { theReasonDelays = m_delays; }
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

    private:
        const int m_delays;
    };
};

}  // namespace kzhost
