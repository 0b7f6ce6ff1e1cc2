// The bottom of the output stack.
#include "module/root_output.h"

#include "kz/base/object_output.h"

#include "kz/base/global_cache.h"

CRootOutput::CRootOutput() {
    if (CKzGlobalCache* cache = CKzGlobalCache::current()) m_service.take(cache->service(KZu_LOGSERVICE));
    m_stream.set(m_service.raw());
}

void kzMakeEntry(CKzLoc_Unknown& entry, IKzLogService* log, const char* origin, const char* text, KzResult code) {
    kzObtain(entry, [&](IKzUnknown** object) { return log->CreateEntry(code, text, object); });
    CKzLoc_LogEntry tagged;
    if (tagged.set(entry.raw())) tagged->SetInfo(kzOriginInfo, origin);
}

void CRootOutput::writeFrom(const char* origin, const char* text, KzResult code) {
    if (!m_service) return;
    if (!m_subsystem)
        kzObtain(m_subsystem, [&](IKzUnknown** object) { return m_service->SubSystemLookup("python", object); });
    CKzLoc_Unknown entry;
    kzMakeEntry(entry, m_service.ptr(), origin, text, code);
    if (m_subsystem && entry) m_subsystem->AddEntry(entry.raw());
}

void CRootOutput::trace(const char* name, const char* message, KzResult code) {
    write(kzTraceMarkup(name, message).c_str(), code);
}

std::string kzTraceMarkup(const char* name, const char* message) {
    // 0x03 opens the host log's inline style markup.
    return std::string("\x03(f:FONT_ITALIC) kz.trace: ") + message + " - " + name + "\x03(f:FONT_DEFAULT)";
}
