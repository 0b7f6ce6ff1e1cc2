// Who listens to the host's events.
#pragma once

#include "host/core/object.h"
#include "host/state/function_ref.h"

#include "kz/command.h"
#include "kz/listener.h"
#include "kz/log.h"

#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

class CListenerTable {
public:
    // Attaches every listener interface that the object has; INVALIDARG when it has none.
    KzResult add(IKzUnknown* object) { return add(object, everyClass); }
    // Detaches it from whatever it was attached to.
    KzResult remove(IKzUnknown* object) { return remove(object, everyClass); }
    // As above, for the listeners of one class only; INVALIDARG for an object of another class.
    KzResult addTo(std::string_view className, IKzUnknown* object) { return add(object, bitOf(className)); }
    KzResult removeFrom(std::string_view className, IKzUnknown* object) { return remove(object, bitOf(className)); }
    // How many listeners there are of a class ("sessionlistener"), or of all with an empty name.
    std::size_t count(std::string_view className) const;

    // True the first time a server is named: each becomes a listener once.
    bool expects(const std::string& server);

    void moduleUpdated(const char* module);
    void session(CFunctionRef<void(IKzSessionListener&)> tell) { each<CKzLoc_SessionListener>(tell); }
    void commands(CFunctionRef<void(IKzCmdSysListener&)> tell) { each<CKzLoc_CmdSysListener>(tell); }
    // What a listener itself writes to the log while it is called is not announced: that would never end.
    void log(CFunctionRef<void(IKzLogListener&)> tell);
    // Tells the listeners, once, that the host is ready.
    void beginSession();
    // Tells the listeners that the host shuts down and releases them, while their modules are still loaded.
    void endSession();
    void clear();

    // Whether servers of that class are listeners.
    static bool isClass(std::string_view className);
    // Tells all who have the wrapper's interface, in the order in which they were added. Works on a copy, without the lock:
    // listeners may be added and removed while one is called. One that has been removed is not called any more.
    template <class Wrapper, class Tell> void each(const Tell& tell) {
        Wrapper listener;
        const std::uint32_t bit = bitOf(listener.guid());
        for (const ListenerRef& reference : all(bit))
            if (listener.set(reference->object.raw()) && has(reference, bit)) tell(*listener.ptr());
    }

private:
    struct Listener {
        explicit Listener(IKzUnknown* listener) : object(listener) {}
        CKzLoc_Unknown object;
        std::uint32_t classes = 0;  // a bit for each class of which it hears; changed under the lock
    };
    using ListenerRef = std::shared_ptr<Listener>;
    static constexpr std::uint32_t everyClass = UINT32_MAX;

    static std::uint32_t bitOf(const KzGuid& iid);
    static std::uint32_t bitOf(std::string_view className);
    KzResult add(IKzUnknown* object, std::uint32_t wanted);
    KzResult remove(IKzUnknown* object, std::uint32_t unwanted);
    std::vector<ListenerRef> all(std::uint32_t wanted) const;
    bool has(const ListenerRef& reference, std::uint32_t wanted) const;

    mutable std::mutex m_lock;
    std::vector<ListenerRef> m_listeners;
    std::set<std::string> m_servers;
    bool m_inSession = false;
};

}  // namespace kzhost
