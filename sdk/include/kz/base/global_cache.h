// What a module keeps about its host: the application object, the spawners found by name, and the initialisers that are
// deferred until everything is registered.
#pragma once

#include "kz/base/object.h"

#include <atomic>
#include <map>
#include <string>
#include <vector>

class CKzGenericPolymorph;
class IKzThreadService;

class CKzGlobalCache {
public:
    CKzGlobalCache();
    virtual ~CKzGlobalCache();
    CKzGlobalCache(const CKzGlobalCache&) = delete;
    CKzGlobalCache& operator=(const CKzGlobalCache&) = delete;

    // The cache of this binary; null before it exists and after it is gone.
    static CKzGlobalCache* current() noexcept;

    void setApplication(IKzUnknown* application);
    // A new reference to the host's service with that interface; null when the host has none.
    IKzUnknown* service(const KzGuid& iid) const noexcept;
    IKzUnknown* application() const noexcept { return m_application.raw(); }

    void addSpawner(const char* name, CKzGenericPolymorph* polymorph);
    CKzGenericPolymorph* findSpawner(const std::string& name) const noexcept;

    using Initialiser = void (*)();
    void addInitialiser(Initialiser initialiser) { m_initialisers.push_back(initialiser); }
    // Calls each deferred initialiser once, in the order in which they were added.
    void runInitialisers();

    // The thread service, looked up once and kept; null when the host has none (yet).
    IKzThreadService* threads() noexcept;

    // Releases everything that belongs to the host.
    void destroyCache() noexcept;

private:
    CKzLoc_Unknown m_application;
    std::map<std::string, CKzGenericPolymorph*> m_spawners;
    std::vector<Initialiser> m_initialisers;
    std::atomic<IKzThreadService*> m_threads = nullptr;
};

// Makes a wrapper hold the host's service with the wrapper's interface; leaves it empty when the host has none.
inline void kzTakeService(CKzLocalizedObject& wrapper) {
    if (const CKzGlobalCache* cache = CKzGlobalCache::current()) wrapper.take(cache->service(wrapper.guid()));
}
