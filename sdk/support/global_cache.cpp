// What a module keeps of its host.
#include "kz/base/global_cache.h"

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
    if (m_threads == nullptr) m_threads = static_cast<IKzThreadService*>(service(KZu_THREADSERVICE));
    return m_threads;
}

void CKzGlobalCache::destroyCache() noexcept {
    m_spawners.clear();
    m_initialisers.clear();
    if (IKzThreadService* threads = std::exchange(m_threads, nullptr)) threads->Release();
    m_application.clear();
}
