// Listeners of the log.
#include "host/core/log_listeners.h"

#include "host/core/listener_table.h"
#include "host/core/log_store.h"
#include "host/core/notifier_table.h"
#include "host/core/object.h"

#include <string>
#include <utility>

namespace kzhost {

namespace {

void tellLine(CLogStore& log, CListenerTable& listeners, const LogLine& line) {
    listeners.log([&](IKzLogListener& listener) {
        const auto entry = log.find(line.subsystem, line.entry);
        if (!entry) return;  // cleared meanwhile
        if (line.parent == 0) listener.EntryAdded(log.subsystem(line.subsystem).raw(), entry.raw());
        else if (const auto parent = log.find(line.subsystem, line.parent))
            listener.ChildEntryAdded(parent.raw(), entry.raw());
    });
}

// A client that writes to the log itself hears nothing of that: it would never end.
void notify(CNotifierTable& notifiers, const char* name, const std::string& subsystem = {}) {
    thread_local bool isNotifying = false;
    if (std::exchange(isNotifying, true)) return;
    struct End {
        ~End() { isNotifying = false; }
    } const end;
    notifiers.tell(name, {}, KZfNOTIFY_REFRESH);
    if (!subsystem.empty()) notifiers.tell(name, subsystem, KZfNOTIFY_REFRESH);
}

}  // namespace

// The log owns what it calls, so a plain reference to it lives long enough.
void kzTellListeners(CLogStore& log, const std::shared_ptr<CListenerTable>& listeners,
                     const std::shared_ptr<CNotifierTable>& notifiers) {
    log.addSink([&log, listeners, notifiers](const LogLine& line) {
        tellLine(log, *listeners, line);
        notify(*notifiers, KZsNOTIFIER_LOG, line.subsystem);
    });
    using Event = CLogStore::Event;
    log.setSinks(
        [listeners, notifiers](Event event, const CHostRef<CLogSubsystem>& subsystem, std::uint32_t dropped) {
            listeners->log([&](IKzLogListener& listener) {
                switch (event) {
                case Event::added: return listener.SubsystemAdded(subsystem.raw());
                case Event::cleared: return listener.Cleared(subsystem.raw());
                case Event::full: return listener.RollingFull(subsystem.raw(), dropped);
                }
            });
            if (event == Event::added) notify(*notifiers, KZsNOTIFIER_SUBSYSTEMS);
        },
        [listeners](const CHostRef<CLogEntry>& entry) {
            listeners->log([&](IKzLogListener& listener) { listener.EntryChanged(entry.raw()); });
        });
}

}  // namespace kzhost
