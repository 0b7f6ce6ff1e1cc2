// Who listens to the host's events.
#pragma once

#include "host/core/object.h"

#include "kz/command.h"
#include "kz/listener.h"
#include "kz/log.h"

#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace kzhost {

class CListenerTable {
public:
    // Attaches every listener interface that the object has; INVALIDARG when it has none.
    KzResult add(IKzUnknown* object);
    KzResult remove(IKzUnknown* object);
    // How many there are of a class ("sessionlistener"), or of all with an empty name.
    std::size_t count(std::string_view className) const;

    // Whether a server is met for the first time; each is made a listener once.
    bool expects(const std::string& server);

    void moduleUpdated(const char* module);
    void session(const std::function<void(IKzSessionListener&)>& tell) { each<CKzLoc_SessionListener>(tell); }
    void commands(const std::function<void(IKzCmdSysListener&)>& tell) { each<CKzLoc_CmdSysListener>(tell); }
    // Not told is what they write to the log themselves while they are told: that would never end.
    void log(const std::function<void(IKzLogListener&)>& tell);
    // Tells listeners that everything is there, once.
    void beginSession();
    // Tells listeners good-bye and lets go of them, while the modules that made them are still there.
    void endSession();
    void clear();

private:
    using Held = std::shared_ptr<CKzLoc_Unknown>;
    std::vector<Held> all() const;

    // Called on a copy and without the lock: a listener may come and go while it is told.
    template <class Wrapper, class Tell> void each(const Tell& tell) {
        for (const Held& held : all()) {
            Wrapper listener;
            if (listener.set(held->raw())) tell(*listener.ptr());
        }
    }

    mutable std::mutex m_lock;
    std::vector<Held> m_listeners;
    std::set<std::string> m_servers;
    bool m_inSession = false;
};

}  // namespace kzhost

using namespace kzhost;  // for the sources outside of the namespace
