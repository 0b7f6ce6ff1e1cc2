// Who listens to the host's events.
#include "host/core/listener_table.h"

#include "kz/result.h"
#include "kz/scene_event.h"
#include "kz/selection.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

namespace kzhost {

namespace {

struct ListenerClass {
    const char* name;
    const KzGuid& iid;
};
constexpr ListenerClass classes[] = {
    {KZa_SESSIONLISTENER, KZu_SESSIONLISTENER},
    {KZa_CMDSYSLISTENER, KZu_CMDSYSLISTENER},
    {KZa_LOGLISTENER, KZu_LOGLISTENER},
    {KZa_SCENEITEMLISTENER, KZu_SCENEITEMLISTENER},
    {KZa_SELECTIONLISTENER, KZu_SELECTIONLISTENER},
};

bool answers(IKzUnknown* object, const KzGuid& iid) {
    void* interface = nullptr;
    if (kzFailed(object->QueryInterface(&iid, &interface)) || interface == nullptr) return false;
    static_cast<IKzUnknown*>(interface)->Release();
    return true;
}

// Two references are the same object when their base interfaces are one pointer.
bool isSame(IKzUnknown* left, IKzUnknown* right) {
    void* a = nullptr;
    void* b = nullptr;
    left->QueryInterface(&KZu_UNKNOWN, &a);
    right->QueryInterface(&KZu_UNKNOWN, &b);
    if (a != nullptr) static_cast<IKzUnknown*>(a)->Release();
    if (b != nullptr) static_cast<IKzUnknown*>(b)->Release();
    return left == right || (a != nullptr && a == b);
}

}  // namespace

KzResult CListenerTable::add(IKzUnknown* object) {
    if (object == nullptr) return KZe_INVALIDARG;
    const bool listens = std::any_of(std::begin(classes), std::end(classes),
                                     [&](const auto& each) { return answers(object, each.iid); });
    if (!listens) return KZe_INVALIDARG;
    const auto listener = std::make_shared<CKzLoc_Unknown>(object);
    const std::lock_guard lock(m_lock);
    m_listeners.push_back(listener);
    return KZe_OK;
}

KzResult CListenerTable::remove(IKzUnknown* object) {
    if (object == nullptr) return KZe_INVALIDARG;
    ListenerRef match;
    for (const ListenerRef& listener : all())
        if (isSame(listener->raw(), object)) match = listener;
    const std::lock_guard lock(m_lock);
    return match && std::erase(m_listeners, match) != 0 ? KZe_OK : KZe_NOTFOUND;
}

std::size_t CListenerTable::count(std::string_view className) const {
    const auto listeners = all();
    if (className.empty()) return listeners.size();
    for (const ListenerClass& each : classes) {
        if (className != each.name) continue;
        return static_cast<std::size_t>(
            std::count_if(listeners.begin(), listeners.end(),
                          [&](const ListenerRef& listener) { return answers(listener->raw(), each.iid); }));
    }
    return 0;
}

bool CListenerTable::isClass(std::string_view className) {
    return std::any_of(std::begin(classes), std::end(classes),
                       [&](const auto& each) { return className == each.name; });
}

bool CListenerTable::has(const ListenerRef& reference) const {
    const std::lock_guard lock(m_lock);
    return std::find(m_listeners.begin(), m_listeners.end(), reference) != m_listeners.end();
}

bool CListenerTable::expects(const std::string& server) {
    const std::lock_guard lock(m_lock);
    return m_servers.insert(server).second;
}

void CListenerTable::moduleUpdated(const char* module) {
    session([module](IKzSessionListener& listener) { listener.ModuleUpdated(module); });
}

std::vector<CListenerTable::ListenerRef> CListenerTable::all() const {
    const std::lock_guard lock(m_lock);
    return m_listeners;
}

void CListenerTable::log(const std::function<void(IKzLogListener&)>& tell) {
    thread_local bool isTelling = false;
    struct Telling {
        Telling() { isTelling = true; }
        ~Telling() { isTelling = false; }
    };
    if (isTelling || count(KZa_LOGLISTENER) == 0) return;
    const Telling telling;
    each<CKzLoc_LogListener>(tell);
}

void CListenerTable::beginSession() {
    if (std::exchange(m_inSession, true)) return;
    session([](IKzSessionListener& listener) { listener.SystemReady(); });
    commands([](IKzCmdSysListener& listener) { listener.SystemReady(); });
}

void CListenerTable::endSession() {
    m_inSession = false;
    session([](IKzSessionListener& listener) { listener.ShuttingDown(); });
    session([](IKzSessionListener& listener) { listener.ShutDown(); });
    clear();
}

void CListenerTable::clear() {
    std::vector<ListenerRef> dropped;
    const std::lock_guard lock(m_lock);
    dropped.swap(m_listeners);
}

}  // namespace kzhost
