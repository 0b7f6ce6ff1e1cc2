// The cache service.
#include "host/services/cache_service.h"

#include "host/core/result_cache.h"
#include "host/core/service_base.h"
#include "host/objects/arguments.h"

#include "kz/cache.h"

#include <algorithm>
#include <utility>

namespace kzhost {

namespace {

class CCacheService final : public CHosted<"cache service", CCacheService, CKzIfc_CacheService>, CServiceBase {
public:
    CCacheService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CResultCache> cache)
        : CServiceBase(std::move(context)), m_cache(std::move(cache)) {}

    KzResult cacheservice_Keep(const KzGuid* owner, std::intptr_t key, IKzUnknown* data) override {
        enter("Cache.Keep");
        const CKzUser_CacheData user(data);
        if (!user) return KZe_INVALIDARG;
        const auto size = static_cast<double>(std::max<std::intptr_t>(user.Size(), 0));
        m_cache->keep({kzNotNull(owner), key}, data, size);
        return KZe_OK;
    }
    KzResult cacheservice_Find(const KzGuid* owner, std::intptr_t key, IKzUnknown** data) override {
        enter("Cache.Find");
        return m_cache->find({kzNotNull(owner), key}, data);
    }
    KzResult cacheservice_Drop(const KzGuid* owner, std::intptr_t key) override {
        enter("Cache.Drop");
        return m_cache->drop({kzNotNull(owner), key}) ? KZe_OK : KZe_NOTFOUND;
    }
    KzResult cacheservice_DropAll(const KzGuid* owner) override {
        enter("Cache.DropAll");
        m_cache->dropAll(&kzNotNull(owner));
        return KZe_OK;
    }
    double cacheservice_MemoryUsed() override {
        enter("Cache.MemoryUsed");
        return m_cache->used();
    }
    double cacheservice_MemoryLimit() override {
        enter("Cache.MemoryLimit");
        return CResultCache::limit();
    }

private:
    std::shared_ptr<CResultCache> m_cache;
};

}  // namespace

decltype(kzMakeCacheService) kzMakeCacheService = kzMakeService<CCacheService>;

}  // namespace kzhost
