// Notifiers by name and arguments.
#include "host/core/notifier_table.h"

#include "host/core/module_table.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/undo.h"
#include "kz/user_value.h"

#include <algorithm>
#include <iterator>

namespace kzhost {

namespace {

// The names that every host has.
constexpr const char* ownNames[] = {
    KZsNOTIFIER_COMMANDS,  KZsNOTIFIER_ALIASES,      KZsNOTIFIER_HISTORY, KZsNOTIFIER_CMDSTATE, KZsNOTIFIER_SCRIPTS,
    KZsNOTIFIER_RUNNING,   KZsNOTIFIER_MODULES,      KZsNOTIFIER_SERVERS, KZsNOTIFIER_LOG,      KZsNOTIFIER_SUBSYSTEMS,
    KZsNOTIFIER_PATHS,     KZsNOTIFIER_UNITS,        KZsNOTIFIER_ACTIVE,  KZsNOTIFIER_TASKS,    KZsNOTIFIER_UNDO,
    KZsNOTIFIER_USERVALUE, KZsNOTIFIER_USERVALUE_DEF};

// One of the host's own: it keeps its clients and calls them.
class CNotifier final : public CHosted<"notifier", CNotifier, CKzIfc_Notifier> {
public:
    CNotifier(std::string name, std::string arguments) : m_name(std::move(name)), m_arguments(std::move(arguments)) {}

    KzResult noti_Name(const char** name) override {
        *name = m_name.c_str();
        return KZe_OK;
    }
    KzResult noti_Args(const char** arguments) override {
        *arguments = m_arguments.c_str();
        return KZe_OK;
    }
    // Works on a copy: a client may remove itself or others, which then hear nothing any more.
    void noti_Notify(std::uint32_t flags) override {
        std::unique_lock lock(m_lock);
        const auto clients = m_clients;
        lock.unlock();
        for (const auto& client : clients)
            if (has(client)) client->Event(flags);
    }
    KzResult noti_AddClient(IKzUnknown* client) override {
        auto user = std::make_shared<CKzUser_CommandEvent>(client);
        if (!*user) return KZe_INVALIDARG;
        const std::lock_guard lock(m_lock);
        m_clients.push_back(std::move(user));
        return KZe_OK;
    }
    KzResult noti_RemoveClient(IKzUnknown* client) override {
        const CKzUser_CommandEvent user(client);
        if (!user) return KZe_INVALIDARG;
        ClientRef removed;  // outlives the lock
        const std::lock_guard lock(m_lock);
        const auto entry = std::find_if(m_clients.begin(), m_clients.end(),
                                        [&](const auto& each) { return each->ptr() == user.ptr(); });
        if (entry == m_clients.end()) return KZe_NOTFOUND;
        removed = std::move(*entry);
        m_clients.erase(entry);
        return KZe_OK;
    }

    bool hasClients() {
        const std::lock_guard lock(m_lock);
        return !m_clients.empty();
    }

private:
    using ClientRef = std::shared_ptr<CKzUser_CommandEvent>;
    bool has(const ClientRef& client) {
        const std::lock_guard lock(m_lock);
        return std::ranges::find(m_clients, client) != m_clients.end();
    }

    std::string m_name, m_arguments;
    std::mutex m_lock;
    std::vector<ClientRef> m_clients;
};

}  // namespace

// Modules are called without the lock.
CNotifierTable::NotifierRef CNotifierTable::find(const Key& key) {
    {
        const std::lock_guard lock(m_lock);
        if (const auto entry = m_notifiers.find(key); entry != m_notifiers.end()) return entry->second;
    }
    CKzLoc_Unknown made;
    if (std::find(std::begin(ownNames), std::end(ownNames), key.first) != std::end(ownNames)) {
        *made.out() = kzMakeObject<CNotifier>(key.first, key.second);
    } else {
        const auto server = m_modules->find(KZa_NOTIFIER, key.first);
        if (!server) return nullptr;
        CModuleTable::spawn(*server, made);
    }
    auto notifier = std::make_shared<CKzUser_Notifier>(made.raw());
    if (!*notifier) return nullptr;
    const std::lock_guard lock(m_lock);
    return m_notifiers.emplace(key, std::move(notifier)).first->second;
}

KzResult CNotifierTable::lookup(const std::string& name, const std::string& arguments, IKzUnknown** notifier) {
    const NotifierRef found = find({name, arguments});
    return found ? found->get(notifier) : KZe_NOTFOUND;
}

KzResult CNotifierTable::addToState(const std::string& command, IKzUnknown* client) {
    return find({KZsNOTIFIER_CMDSTATE, command})->AddClient(client);
}

KzResult CNotifierTable::removeFromState(const std::string& command, IKzUnknown* client) {
    NotifierRef notifier;
    {
        const std::lock_guard lock(m_lock);
        const auto entry = m_notifiers.find({KZsNOTIFIER_CMDSTATE, command});
        if (entry == m_notifiers.end()) return client != nullptr ? KZe_NOTFOUND : KZe_INVALIDARG;
        notifier = entry->second;
    }
    return notifier->RemoveClient(client);
}

KzResult CNotifierTable::add(IKzUnknown* notifier) {
    auto user = std::make_shared<CKzUser_Notifier>(notifier);
    if (!*user) return KZe_INVALIDARG;
    const Key key{kzAnswer([&](const char** text) { return user->Name(text); }),
                  kzAnswer([&](const char** text) { return user->Args(text); })};
    if (key.first.empty()) return KZe_INVALIDARG;
    NotifierRef former;  // outlives the lock
    const std::lock_guard lock(m_lock);
    former = std::exchange(m_notifiers[key], std::move(user));
    return KZe_OK;
}

KzResult CNotifierTable::send(const std::string& name, const std::string& arguments, std::uint32_t flags) {
    const NotifierRef notifier = find({name, arguments});
    if (!notifier) return KZe_NOTFOUND;
    notifier->Notify(flags);
    return KZe_OK;
}

void CNotifierTable::tell(std::string_view name, std::string_view arguments, std::uint32_t flags) {
    NotifierRef notifier;
    {
        const std::lock_guard lock(m_lock);
        if (m_notifiers.empty()) return;
        const auto entry = m_notifiers.find({std::string(name), std::string(arguments)});
        if (entry == m_notifiers.end()) return;
        notifier = entry->second;
    }
    notifier->Notify(flags);
}

std::vector<std::string> CNotifierTable::argumentsOf(std::string_view name) const {
    std::vector<std::string> arguments;
    const std::lock_guard lock(m_lock);
    for (const auto& [key, notifier] : m_notifiers) {
        if (key.first != name) continue;
        const auto own = CHostRef<CNotifier>::of(notifier->ptr());
        if (!own || own->hasClients()) arguments.push_back(key.second);
    }
    return arguments;
}

KzResult CNotifierTable::defer(const std::string& name, const std::string& arguments, std::uint32_t flags) {
    if (!find({name, arguments})) return KZe_NOTFOUND;
    const std::lock_guard lock(m_lock);
    m_deferred[{name, arguments}] |= flags;
    return KZe_OK;
}

std::uint32_t CNotifierTable::deferredCount() const {
    const std::lock_guard lock(m_lock);
    return static_cast<std::uint32_t>(m_deferred.size());
}

void CNotifierTable::sendDeferred() {
    std::map<Key, std::uint32_t> deferred;
    {
        const std::lock_guard lock(m_lock);
        deferred.swap(m_deferred);
    }
    for (const auto& [key, flags] : deferred) send(key.first, key.second, flags);
}

void CNotifierTable::clear() {
    std::map<Key, NotifierRef> dropped;
    const std::lock_guard lock(m_lock);
    dropped.swap(m_notifiers);
    m_deferred.clear();
}

}  // namespace kzhost
