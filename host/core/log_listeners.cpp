// Listeners of the log.
#include "host/core/log_listeners.h"

#include "host/core/listener_table.h"
#include "host/core/log_store.h"
#include "host/core/object.h"

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

}  // namespace

// The log owns what it calls, so a plain reference to it lives long enough.
void kzTellListeners(CLogStore& log, const std::shared_ptr<CListenerTable>& listeners) {
    log.addSink([&log, listeners](const LogLine& line) { tellLine(log, *listeners, line); });
    log.setSubsystemSink([listeners](CLogStore::Event event, const CHostRef<CLogSubsystem>& subsystem) {
        listeners->log([&](IKzLogListener& listener) {
            if (event == CLogStore::Event::added) listener.SubsystemAdded(subsystem.raw());
            else listener.Cleared(subsystem.raw());
        });
    });
}

}  // namespace kzhost
