// Notifiers by name and arguments, and the notifications that wait until the running command ends.
#pragma once

#include "host/core/object.h"

#include "kz/listener.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

class CModuleTable;

class CNotifierTable {
public:
    explicit CNotifierTable(std::shared_ptr<CModuleTable> modules) : m_modules(std::move(modules)) {}

    // The notifier of that name, with a new reference: one that was registered, the host's own, or a module's server of
    // that name. NOTFOUND if there is none.
    KzResult lookup(const std::string& name, const std::string& arguments, IKzUnknown** notifier);
    // The client hears from then on, or no more, whether the command is enabled.
    KzResult addToState(const std::string& command, IKzUnknown* client);
    KzResult removeFromState(const std::string& command, IKzUnknown* client);
    // Replaces one of the same name and arguments.
    KzResult add(IKzUnknown* notifier);
    KzResult send(const std::string& name, const std::string& arguments, std::uint32_t flags);
    // As send, but does nothing if nobody has asked for that notifier.
    void tell(std::string_view name, std::string_view arguments, std::uint32_t flags);
    // The arguments of all notifiers of that name which somebody has asked for.
    std::vector<std::string> argumentsOf(std::string_view name) const;
    // Sent once by sendDeferred, with all flags that came together.
    KzResult defer(const std::string& name, const std::string& arguments, std::uint32_t flags);
    std::uint32_t deferredCount() const;
    void sendDeferred();
    // Releases all notifiers, while their modules are still loaded.
    void clear();

private:
    using Key = std::pair<std::string, std::string>;
    using NotifierRef = std::shared_ptr<CKzUser_Notifier>;

    NotifierRef find(const Key& key);

    std::shared_ptr<CModuleTable> m_modules;
    mutable std::mutex m_lock;
    std::map<Key, NotifierRef> m_notifiers;
    std::map<Key, std::uint32_t> m_deferred;
};

}  // namespace kzhost
