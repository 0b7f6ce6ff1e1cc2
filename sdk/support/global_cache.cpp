// What a module keeps of its host.
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
    void* found = nullptr;
    IKzUnknown* application = m_application.raw();
    if (application == nullptr || kzFailed(application->QueryInterface(&iid, &found))) return nullptr;
    return static_cast<IKzUnknown*>(found);
}

void CKzGlobalCache::addSpawner(const char* name, CKzGenericPolymorph* polymorph) { m_spawners[name] = polymorph; }

CKzGenericPolymorph* CKzGlobalCache::findSpawner(const std::string& name) const noexcept {
    const auto found = m_spawners.find(name);
    return found == m_spawners.end() ? nullptr : found->second;
}

void CKzGlobalCache::runInitialisers() {
    for (const Initialiser initialiser : m_initialisers) initialiser();
}

IKzThreadService* CKzGlobalCache::threads() noexcept {
    if (IKzThreadService* known = m_threads) return known;
    // A host in the same binary makes its service with this very layer, which asks for the service on the way.
    KZ_THREAD_LOCAL thread_local bool isLooking = false;
    if (std::exchange(isLooking, true)) return nullptr;
    auto* found = static_cast<IKzThreadService*>(service(KZu_THREADSERVICE));
    isLooking = false;
    IKzThreadService* first = nullptr;
    if (m_threads.compare_exchange_strong(first, found)) return found;
    if (found != nullptr) found->Release();  // another thread was first
    return first;
}

void CKzGlobalCache::destroyCache() noexcept {
    m_spawners.clear();
    m_initialisers.clear();
    if (IKzThreadService* threads = m_threads.exchange(nullptr)) threads->Release();
    m_application.clear();
}
