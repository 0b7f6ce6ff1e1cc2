// Who listens to the host's events.
#include "host/core/listener_table.h"

#include "host/state/function_ref.h"

#include "kz/action.h"
#include "kz/eval.h"
#include "kz/result.h"
#include "kz/scene_event.h"
#include "kz/selection.h"
#include "kz/tree.h"
#include "kz/user_value.h"

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
    {KZa_ACTIONLISTENER, KZu_ACTIONLISTENER},
    {KZa_ANIMLISTENER, KZu_ANIMLISTENER},
    {KZa_SCENEEVALLISTENER, KZu_SCENEEVALLISTENER},
    {KZa_USERVALUELISTENER, KZu_USERVALUELISTENER},
    {KZa_TREELISTENER, KZu_TREELISTENER},
};
static_assert(std::size(classes) < 32);

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

template <class Matches> std::uint32_t bitWhere(const Matches& matches) {
    const auto match = std::ranges::find_if(classes, matches);
    return match != std::end(classes) ? 1U << (match - std::begin(classes)) : 0;
}

}  // namespace

std::uint32_t CListenerTable::bitOf(const KzGuid& iid) {
    return bitWhere([&](const ListenerClass& each) { return each.iid == iid; });
}

std::uint32_t CListenerTable::bitOf(std::string_view className) {
    return bitWhere([&](const ListenerClass& each) { return each.name == className; });
}

KzResult CListenerTable::add(IKzUnknown* object, std::uint32_t wanted) {
    if (object == nullptr) return KZe_INVALIDARG;
    const auto listener = std::make_shared<Listener>(object);
    for (const ListenerClass& each : classes)
        if ((wanted & bitOf(each.iid)) != 0 && answers(object, each.iid)) listener->classes |= bitOf(each.iid);
    if (listener->classes == 0) return KZe_INVALIDARG;
    const std::lock_guard lock(m_lock);
    m_listeners.push_back(listener);
    return KZe_OK;
}

KzResult CListenerTable::remove(IKzUnknown* object, std::uint32_t unwanted) {
    if (object == nullptr) return KZe_INVALIDARG;
    std::vector<ListenerRef> matches = all(unwanted);  // outlive the lock
    std::erase_if(matches, [&](const ListenerRef& each) { return !isSame(each->object.raw(), object); });
    if (matches.empty()) return KZe_NOTFOUND;
    const std::lock_guard lock(m_lock);
    for (const ListenerRef& each : matches) each->classes &= ~unwanted;
    std::erase_if(m_listeners, [](const ListenerRef& each) { return each->classes == 0; });
    return KZe_OK;
}

std::size_t CListenerTable::count(std::string_view className) const {
    const std::uint32_t wanted = className.empty() ? everyClass : bitOf(className);
    const std::lock_guard lock(m_lock);
    return static_cast<std::size_t>(
        std::ranges::count_if(m_listeners, [&](const auto& each) { return (each->classes & wanted) != 0; }));
}

bool CListenerTable::isClass(std::string_view className) { return bitOf(className) != 0; }

bool CListenerTable::has(const ListenerRef& reference, std::uint32_t wanted) const {
    const std::lock_guard lock(m_lock);
    return (reference->classes & wanted) != 0 && std::ranges::find(m_listeners, reference) != m_listeners.end();
}

bool CListenerTable::expects(const std::string& server) {
    const std::lock_guard lock(m_lock);
    return m_servers.insert(server).second;
}

void CListenerTable::moduleUpdated(const char* module) {
    session([module](IKzSessionListener& listener) { listener.ModuleUpdated(module); });
}

std::vector<CListenerTable::ListenerRef> CListenerTable::all(std::uint32_t wanted) const {
    std::vector<ListenerRef> listeners;
    const std::lock_guard lock(m_lock);
    std::ranges::copy_if(m_listeners, std::back_inserter(listeners),
                         [&](const auto& each) { return (each->classes & wanted) != 0; });
    return listeners;
}

void CListenerTable::log(CFunctionRef<void(IKzLogListener&)> tell) {
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
