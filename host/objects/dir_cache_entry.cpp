// Folders and files as objects.
#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/objects/dir_cache.h"
#include "host/objects/file_metrics.h"
#include "host/state/text.h"

#include "kz/result.h"

#include <filesystem>
#include <utility>

namespace kzhost {

namespace fs = std::filesystem;

namespace {

class CDirCacheEntry final : public CHosted<"directory entry", CDirCacheEntry, CKzIfc_DirCacheEntry> {
public:
    CDirCacheEntry(std::shared_ptr<CDirCache> cache, std::string path)
        : m_cache(std::move(cache)), m_path(std::move(path)) {}

    const std::string& path() const { return m_path; }
    const char* dircacheentry_Path() override { return kzLend(m_path); }
    const char* dircacheentry_Name() override { return kzLend(fs::path(m_path).filename().string()); }
    const char* dircacheentry_UserName() override {
        if (const auto own = row(); own.isServed) return kzLend(own.userName);
        return kzLend(row().isDirectory ? fs::path(m_path).filename().string() : fs::path(m_path).stem().string());
    }
    bool dircacheentry_IsDirectory() override { return row().isDirectory; }
    bool dircacheentry_IsSynthetic() override {
        const auto own = row();
        return !own.exists || own.isServed;
    }
    const char* dircacheentry_FileClass() override {
        const std::string name = row().isDirectory ? std::string() : m_cache->fileClass(m_path);
        return name.empty() ? nullptr : kzLend(name);
    }
    double dircacheentry_ModifiedTime() override { return row().modified; }
    KzResult dircacheentry_FileSize(double* bytes) override {
        const auto own = row();
        if (own.isDirectory || !own.exists || own.bytes < 0) return KZe_NOTAVAILABLE;
        *bytes = own.bytes;
        return KZe_OK;
    }
    std::uint32_t dircacheentry_ChildCount(std::uint32_t list) override {
        return static_cast<std::uint32_t>(m_cache->children(m_path, list).size());
    }
    KzResult dircacheentry_ChildByIndex(std::uint32_t list, std::uint32_t index, IKzUnknown** child) override {
        const auto all = m_cache->children(m_path, list);
        if (index >= all.size()) return KZe_OUTOFBOUNDS;
        *child = kzMakeDirCacheEntry(m_cache, all[index]);
        return KZe_OK;
    }
    KzResult dircacheentry_Parent(IKzUnknown** parent) override {
        const std::string above = fs::path(m_path).parent_path().string();
        if (above == m_path || above.empty() || m_cache->isBasePath(m_path)) return KZe_NOTFOUND;
        if (row().isServed && !m_cache->row(above).exists) return KZe_NOTFOUND;  // the base path of a tree
        *parent = kzMakeDirCacheEntry(m_cache, above);
        return KZe_OK;
    }
    KzResult dircacheentry_Metric(const char* metric, IKzUnknown** value) override {
        const std::string name = kzString(metric);
        const KzValueType& type = kzMetricType(name);
        return CHostRef<CValue>::make(type, m_cache->metric(m_path, name)).give(value);
    }
    KzResult dircacheentry_Thumbnail(std::int32_t width, std::int32_t height, IKzUnknown** image) override {
        if (width < 1 || height < 1) return KZe_INVALIDARG;
        return m_cache->thumbnail(m_path, width, height, image);
    }
    KzResult dircacheentry_Refresh() override {
        m_cache->refresh(m_path);
        return KZe_OK;
    }

private:
    CDirCache::Row row() const { return m_cache->row(m_path); }

    const std::shared_ptr<CDirCache> m_cache;
    const std::string m_path;
};

}  // namespace

IKzUnknown* kzMakeDirCacheEntry(std::shared_ptr<CDirCache> cache, std::string path) {
    return kzMakeObject<CDirCacheEntry>(std::move(cache), std::move(path));
}

std::string kzDirCachePath(IKzUnknown* entry) {
    const auto own = CHostRef<CDirCacheEntry>::of(entry);
    if (!own) throw KZe_INVALIDARG;
    return own->path();
}

}  // namespace kzhost
