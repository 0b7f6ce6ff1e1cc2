// What a module keeps about its host.
#include "kz/base/global_cache.h"

#include "kz/base/forever.h"
#include "kz/thread.h"

#include <utility>

namespace {
CKzGlobalCache* theCache = nullptr;
}

CKzGlobalCache::CKzGlobalCache() { theCache = this; }

CKzGlobalCache::~CKzGlobalCache() {
    destroyCache();
    if (theCache == this) theCache = nullptr;
}

CKzGlobalCache* CKzGlobalCache::current() noexcept { return theCache; }

void CKzGlobalCache::setApplication(IKzUnknown* application) { m_application.set(application); }

IKzUnknown* CKzGlobalCache::service(const KzGuid& iid) const noexcept {
    void* service = nullptr;
    IKzUnknown* application = m_application.raw();
    if (application == nullptr || kzFailed(application->QueryInterface(&iid, &service))) return nullptr;
    return static_cast<IKzUnknown*>(service);
}

void CKzGlobalCache::addSpawner(const char* name, CKzGenericPolymorph* polymorph) { m_spawners[name] = polymorph; }

CKzGenericPolymorph* CKzGlobalCache::findSpawner(const std::string& name) const noexcept {
    const auto entry = m_spawners.find(name);
    return entry == m_spawners.end() ? nullptr : entry->second;
}

void CKzGlobalCache::runInitialisers() {
    for (const Initialiser initialiser : m_initialisers) initialiser();
}

IKzThreadService* CKzGlobalCache::threads() noexcept {
    if (IKzThreadService* cached = m_threads) return cached;
    // Looking is re-entrant: a host in the same binary creates its service with this layer, which needs the service.
    KZ_THREAD_LOCAL thread_local bool isLooking = false;
    if (std::exchange(isLooking, true)) return nullptr;
    auto* threads = static_cast<IKzThreadService*>(service(KZu_THREADSERVICE));
    isLooking = false;
    IKzThreadService* first = nullptr;
    if (m_threads.compare_exchange_strong(first, threads)) return threads;
    if (threads != nullptr) threads->Release();  // another thread was faster
    return first;
}

void CKzGlobalCache::destroyCache() noexcept {
    m_spawners.clear();
    m_initialisers.clear();
    if (IKzThreadService* threads = m_threads.exchange(nullptr)) threads->Release();
    m_application.clear();
}
