// The reason for a failure, kept for the caller that gets no more than a code.
#include "host/core/reason_memory.h"

#include "host/core/log_store.h"

namespace kzhost {

namespace {

thread_local constinit CReasonMemory* theMemory = nullptr;

}  // namespace

CReasonMemory::CReasonMemory() noexcept : m_outer(theMemory) { theMemory = this; }

CReasonMemory::~CReasonMemory() { theMemory = m_outer; }

bool CReasonMemory::isOpen() noexcept { return theMemory != nullptr; }

void CReasonMemory::keep(KzResult code, const std::string& text) noexcept {
    if (theMemory == nullptr) return;
    try {
        theMemory->m_text = text;
        theMemory->m_code = code;
    } catch (...) {  // the code is what counts
        theMemory->m_code = 0;
    }
}

std::string CReasonMemory::latest(KzResult code) {
    return theMemory != nullptr && theMemory->m_code == code ? theMemory->m_text : std::string();
}

// Kept at last, as listeners of the log may fail in turn.
KzResult kzLogFailure(CLogStore& log, const char* subsystem, KzResult code, const std::string& text) {
    log.write(subsystem, code, text);
    CReasonMemory::keep(code, text);
    return code;
}

}  // namespace kzhost
