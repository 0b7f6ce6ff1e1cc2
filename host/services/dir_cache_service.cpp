// The directory cache service.
#include "host/services/dir_cache_service.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/core/values.h"
#include "host/objects/dir_cache.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/value.h"

#include <algorithm>
#include <utility>

namespace kzhost {

namespace {

class CDirCacheService final : public CHosted<"directory cache service", CDirCacheService, CKzIfc_DirCacheService>,
                               CServiceBase {
public:
    CDirCacheService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CDirCache> cache,
                     std::shared_ptr<CPathAliases> files)
        : CServiceBase(std::move(context)), m_cache(std::move(cache)), m_files(std::move(files)) {}

    KzResult dircacheservice_Lookup(const char* path, IKzUnknown** entry) override {
        enter("DirCache.Lookup");
        *entry = kzMakeDirCacheEntry(m_cache, place(path));
        return KZe_OK;
    }
    KzResult dircacheservice_Scan(IKzUnknown* directory, std::uint32_t flags) override {
        enter("DirCache.Scan");
        constexpr std::uint32_t all = KZfDCSCAN_RECURSE | KZfDCSCAN_METRICS | KZfDCSCAN_THUMBS | KZfDCSCAN_HIDDEN |
                                      KZfDCSCAN_FORCE | KZfDCSCAN_ASYNC;
        if ((flags & ~all) != 0) return KZe_INVALIDARG;
        m_cache->scan(kzDirCachePath(directory), flags);
        return KZe_OK;
    }
    KzResult dircacheservice_BasePathCount(const char* browser, std::uint32_t* count) override {
        enter("DirCache.BasePathCount");
        *count = static_cast<std::uint32_t>(m_cache->basePaths(kzString(browser)).size());
        return KZe_OK;
    }
    KzResult dircacheservice_BasePathByIndex(const char* browser, std::uint32_t index, const char** path) override {
        enter("DirCache.BasePathByIndex");
        return giveName(m_cache->basePaths(kzString(browser)), index, path);
    }
    KzResult dircacheservice_BasePathAdd(const char* browser, const char* path, std::int32_t position) override {
        enter("DirCache.BasePathAdd");
        auto paths = m_cache->basePaths(kzString(browser));
        const std::string added = place(path);
        if (std::ranges::find(paths, added) != paths.end()) return KZe_ALREADYEXISTS;
        if (position < -1 || position > static_cast<std::int32_t>(paths.size())) return KZe_OUTOFBOUNDS;
        paths.insert(position < 0 ? paths.end() : paths.begin() + position, added);
        m_cache->setBasePaths(kzString(browser), std::move(paths));
        return KZe_OK;
    }
    KzResult dircacheservice_BasePathRemove(const char* browser, const char* path) override {
        enter("DirCache.BasePathRemove");
        auto paths = m_cache->basePaths(kzString(browser));
        if (std::erase(paths, place(path)) == 0) return KZe_NOTFOUND;
        m_cache->setBasePaths(kzString(browser), std::move(paths));
        return KZe_OK;
    }
    KzResult dircacheservice_Invalidate(const char* path) override {
        enter("DirCache.Invalidate");
        m_cache->forget(place(path));
        return KZe_OK;
    }
    KzResult dircacheservice_SetMark(IKzUnknown* entry, const char* mark, IKzUnknown* value) override {
        enter("DirCache.SetMark");
        const std::string path = kzDirCachePath(entry), name = markOf(mark);
        if (value == nullptr) {
            m_cache->setMark(path, name, {});
            return KZe_OK;
        }
        const CKzUser_Value given(value);
        if (!given) return KZe_INVALIDARG;
        const std::string type = kzAnswer([&](const char** text) { return given.TypeName(text); });
        m_cache->setMark(path, name, std::pair(type, kzValueText(value)));
        return KZe_OK;
    }
    KzResult dircacheservice_Mark(IKzUnknown* entry, const char* mark, IKzUnknown** value) override {
        enter("DirCache.Mark");
        const auto kept = m_cache->mark(kzDirCachePath(entry), markOf(mark));
        if (!kept) return KZe_NOTFOUND;
        const auto own = CHostRef<CValue>::make(kzFindType(kept->first) != nullptr ? kept->first : KZsTYPE_STRING);
        if (const KzResult code = own->val_SetString(kept->second.c_str()); kzFailed(code)) return code;
        return own.give(value);
    }
    bool dircacheservice_IsScanning() override {
        enter("DirCache.IsScanning");
        return m_cache->isScanning();
    }

private:
    std::string place(const char* path) const { return CDirCache::normal(m_files->place(path)); }
    static std::string markOf(const char* mark) {
        std::string name = kzString(mark);
        if (name.empty() || name.find(' ') != std::string::npos) throw KZe_INVALIDARG;
        return name;
    }

    std::shared_ptr<CDirCache> m_cache;
    std::shared_ptr<CPathAliases> m_files;
};

}  // namespace

decltype(kzMakeDirCacheService) kzMakeDirCacheService = kzMakeService<CDirCacheService>;

}  // namespace kzhost
