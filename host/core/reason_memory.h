// The reason for a failure, kept for the caller that gets no more than a code.
#pragma once

#include "kz/base/types.h"

#include <string>

namespace kzhost {

class CLogStore;

// While one lives, what this thread gives as the reason for a failure is kept until the next one. The innermost one keeps.
class CReasonMemory {
public:
    CReasonMemory() noexcept;
    ~CReasonMemory();
    CReasonMemory(const CReasonMemory&) = delete;
    CReasonMemory& operator=(const CReasonMemory&) = delete;

    static bool isOpen() noexcept;
    // No-op without a memory.
    static void keep(KzResult code, const std::string& text) noexcept;
    // The reason that was given last, if it was for this code; otherwise empty.
    static std::string latest(KzResult code);

private:
    CReasonMemory* const m_outer;
    KzResult m_code = 0;
    std::string m_text;
};

// Logs why something failed, keeps it if there is a memory, and returns the code, for the caller to return or throw.
KzResult kzLogFailure(CLogStore& log, const char* subsystem, KzResult code, const std::string& text);

}  // namespace kzhost
