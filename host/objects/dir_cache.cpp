// Folders and files as they were when they were last read.
#include "host/objects/dir_cache.h"

#include "host/core/module_table.h"
#include "host/core/notifier_table.h"
#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/objects/image_edits.h"
#include "host/objects/image_files.h"
#include "host/objects/named_values.h"
#include "host/state/preferences.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/image.h"
#include "kz/listener.h"
#include "kz/loader.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>

namespace kzhost {

namespace fs = std::filesystem;

namespace {

constexpr const char* markKind = "mark";
constexpr const char* basePathKind = "basePaths";
constexpr std::array browsers{KZsBROWSER_PRESETS, KZsBROWSER_FILES, KZsBROWSER_CLIPS};

double secondsOf(fs::file_time_type time) {
    const auto system = std::chrono::file_clock::to_sys(time);
    return std::chrono::duration<double>(system.time_since_epoch()).count();
}

std::string lastPart(const std::string& path) { return fs::path(path).filename().string(); }

class CDirCacheEntry final : public CHosted<"directory entry", CDirCacheEntry, CKzIfc_DirCacheEntry> {
public:
    CDirCacheEntry(std::shared_ptr<CDirCache> cache, std::string path)
        : m_cache(std::move(cache)), m_path(std::move(path)) {}

    const std::string& path() const { return m_path; }
    const char* dircacheentry_Path() override { return kzLend(m_path); }
    const char* dircacheentry_Name() override { return kzLend(lastPart(m_path)); }
    const char* dircacheentry_UserName() override {
        return kzLend(row().isDirectory ? lastPart(m_path) : fs::path(m_path).stem().string());
    }
    bool dircacheentry_IsDirectory() override { return row().isDirectory; }
    bool dircacheentry_IsSynthetic() override { return !row().exists; }
    const char* dircacheentry_FileClass() override {
        const std::string name = row().isDirectory ? std::string() : m_cache->fileClass(m_path);
        return name.empty() ? nullptr : kzLend(name);
    }
    double dircacheentry_ModifiedTime() override { return row().modified; }
    KzResult dircacheentry_FileSize(double* bytes) override {
        const auto own = row();
        if (own.isDirectory || !own.exists) return KZe_NOTAVAILABLE;
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
        *parent = kzMakeDirCacheEntry(m_cache, above);
        return KZe_OK;
    }
    KzResult dircacheentry_Metric(const char* metric, IKzUnknown** value) override {
        const std::string name = kzString(metric);
        const KzValueType& type = CDirCache::metricType(name);
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

CDirCache::CDirCache(std::shared_ptr<CModuleTable> modules, std::shared_ptr<CPreferences> preferences,
                     std::shared_ptr<CImageFiles> images, std::shared_ptr<CNotifierTable> notifiers)
    : m_modules(std::move(modules)), m_preferences(std::move(preferences)), m_images(std::move(images)),
      m_notifiers(std::move(notifiers)) {}

std::string CDirCache::normal(const std::string& path) {
    std::error_code error;
    std::string text = fs::absolute(path, error).lexically_normal().string();
    while (text.size() > 1 && text.ends_with('/')) text.pop_back();
    return text;
}

CDirCache::Row CDirCache::look(const std::string& path) {
    Row row;
    std::error_code error;
    const auto status = fs::status(path, error);
    row.exists = fs::exists(status);
    row.isDirectory = fs::is_directory(status);
    const auto time = fs::last_write_time(path, error);
    if (!error) row.modified = secondsOf(time);
    const auto size = row.isDirectory ? 0 : fs::file_size(path, error);
    if (!error && !row.isDirectory) row.bytes = static_cast<double>(size);
    return row;
}

CDirCache::Row CDirCache::row(const std::string& path) {
    const std::lock_guard guard(m_lock);
    const auto known = m_rows.find(path);
    return known != m_rows.end() ? known->second : m_rows[path] = look(path);
}

void CDirCache::forget(const std::string& path) {
    const std::lock_guard guard(m_lock);
    m_rows.erase(path);
}

void CDirCache::refresh(const std::string& path) {
    const Row before = row(path);
    forget(path);
    if (before.isRead && row(path).isDirectory) scan(path, before.hasHidden ? KZfDCSCAN_HIDDEN : 0);
    if (before.metrics) readMetrics(path);
    tell(KZsNOTIFIER_DIRCACHE, path);
}

void CDirCache::readNames(const std::string& path, bool hidden, Row& row) const {
    std::error_code error;
    for (fs::directory_iterator each(path, error), end; !error && each != end; each.increment(error)) {
        std::string name = each->path().filename().string();
        if (hidden || !name.starts_with('.')) row.names.push_back(std::move(name));
    }
    std::ranges::sort(row.names);
    row.isRead = true;
    row.hasHidden = hidden;
}

void CDirCache::scan(const std::string& path, std::uint32_t flags) {
    struct Scan {
        explicit Scan(std::atomic<int>& scans) : scans(scans) { ++scans; }
        ~Scan() { --scans; }
        std::atomic<int>& scans;
    };
    const Scan running(m_scans);
    const bool hidden = (flags & KZfDCSCAN_HIDDEN) != 0;
    const Row before = row(path);
    Row now = look(path);
    if (!now.isDirectory)
        throw kzBecause(KZe_NOTFOUND, "DirCache.Scan", [&] { return "there is no folder \"" + path + "\""; });
    const bool isSame = before.isRead && before.hasHidden == hidden && before.modified == now.modified;
    if (!isSame || (flags & KZfDCSCAN_FORCE) != 0) {
        readNames(path, hidden, now);
        const std::lock_guard guard(m_lock);
        for (const std::string& name : now.names) m_rows.erase(normal(path + "/" + name));
        m_rows[path] = std::move(now);
    }
    for (const std::string& child : children(path, KZvDCELIST_BOTH)) {
        const bool isFolder = row(child).isDirectory;
        std::error_code error;
        const bool descends = (flags & KZfDCSCAN_RECURSE) != 0 && !fs::is_symlink(child, error);  // which may lead back
        if (isFolder && descends) scan(child, flags);
        if (!isFolder && (flags & KZfDCSCAN_METRICS) != 0) readMetrics(child);
    }
    if (!isSame) tell(KZsNOTIFIER_DIRCACHE, path);
}

std::vector<std::string> CDirCache::children(const std::string& path, std::uint32_t list) {
    std::vector<std::string> paths;
    for (const std::string& name : row(path).names) {
        std::string child = normal(path + "/" + name);
        const std::uint32_t own = row(child).isDirectory ? KZvDCELIST_DIRS : KZvDCELIST_FILES;
        if ((list & own) != 0) paths.push_back(std::move(child));
    }
    return paths;
}

std::string CDirCache::fileClass(const std::string& path) const {
    if (kzPictureFormatOf(path) != nullptr) return KZsFILECLASS_IMAGE;
    const std::string extension = fs::path(path).extension().string();
    if (extension == ".kzscene") return KZsFILECLASS_SCENE;
    for (const KzServer& server : m_modules->servers(KZa_LOADER)) {
        std::string name, patterns;
        for (const auto& [tag, value] : CModuleTable::tagsOf(server)) {
            if (tag == "file.class") name = value;
            if (tag == "loader.dosPattern") patterns = value;
        }
        if (!extension.empty() && (";" + patterns + ";").find(";*" + extension + ";") != std::string::npos) return name;
    }
    return {};
}

// Each server says what it knows of the file; what two know, the first one says.
void CDirCache::readMetrics(const std::string& path) {
    FileMetrics all;
    for (const KzServer& server : m_modules->servers(KZa_DIRCACHEFILEMETRICS)) {
        CKzLoc_Unknown object;
        const auto attributes = CHostRef<CNamedValues>::make(kzMetricRows);
        try {
            const CKzUser_DirCacheFileMetrics reader(CModuleTable::spawn(server, object).raw());
            if (kzSucceeded(reader.Metrics(path.c_str(), attributes.raw()))) all.merge(attributes->values);
        } catch (KzResult code) {
            kzBecause(code, "DirCache.Scan", [&] { return "the server \"" + server.name + "\" reads no metrics"; });
        }
    }
    row(path);
    const std::lock_guard guard(m_lock);
    m_rows[path].metrics = std::move(all);
}

const KzValueType& CDirCache::metricType(std::string_view name) {
    for (const NamedValueRow& row : kzMetricRows)
        if (name == row.name) return *kzFindType(row.type);
    throw kzBecause(KZe_NOTFOUND, "DirCacheEntry.Metric", [&] {
        return kzThereIsNo("metric", name, kzMetricRows, [](const NamedValueRow& row) { return row.name; });
    });
}

KzCell CDirCache::metric(const std::string& path, const std::string& name) {
    const Row own = row(path);
    if (name == KZsMETRIC_NAME) return lastPart(path);
    if (name == KZsMETRIC_MODIFIED && own.exists) return own.modified;
    if (name == KZsMETRIC_SIZE && own.exists && !own.isDirectory) return own.bytes;
    if (name == KZsMETRIC_TYPE && !own.isDirectory)
        if (std::string type = fileClass(path); !type.empty()) return type;
    if (!own.metrics && own.exists && !own.isDirectory) throw KZe_NOTREADY;
    const auto found = own.metrics ? own.metrics->find(name) : FileMetrics::const_iterator{};
    if (!own.metrics || found == own.metrics->end()) throw KZe_NOTFOUND;
    return found->second;
}

// A server's own, or else the picture in small.
KzResult CDirCache::thumbnail(const std::string& path, std::int32_t width, std::int32_t height,
                              IKzUnknown** image) const {
    for (const KzServer& server : m_modules->servers(KZa_DIRCACHEFILEMETRICS)) {
        CKzLoc_Unknown object;
        const CKzUser_DirCacheFileMetrics reader(CModuleTable::spawn(server, object).raw());
        if (kzSucceeded(reader.Thumbnail(path.c_str(), width, height, image)) && *image != nullptr) return KZe_OK;
    }
    if (fileClass(path) != KZsFILECLASS_IMAGE) return KZe_NOTFOUND;
    const auto whole = m_images->load(path, nullptr);
    const double factor =
        std::min({1.0, static_cast<double>(width) / whole->width(), static_cast<double>(height) / whole->height()});
    const auto scaled = [&](std::int32_t side) { return std::max(1, static_cast<std::int32_t>(side * factor)); };
    return kzScaleImage(whole.raw(), scaled(whole->width()), scaled(whole->height()), KZiIMG_FILTER_AREA).give(image);
}

std::vector<std::string> CDirCache::basePaths(const std::string& browser) const {
    if (std::ranges::find(browsers, browser) == browsers.end())
        throw kzBecause(KZe_NOTFOUND, "DirCache", [&] {
            return kzThereIsNo("browser", browser, std::vector<std::string>(browsers.begin(), browsers.end()));
        });
    return m_preferences->get(basePathKind, browser).value_or(PreferenceFields());
}

void CDirCache::setBasePaths(const std::string& browser, std::vector<std::string> paths) {
    if (paths.empty()) m_preferences->remove(basePathKind, browser);
    else m_preferences->set(basePathKind, browser, std::move(paths));
    tell(KZsNOTIFIER_BASEPATHS, browser);
}

bool CDirCache::isBasePath(const std::string& path) const {
    return std::ranges::any_of(browsers, [&](const char* browser) {
        const auto paths = basePaths(browser);
        return std::ranges::find(paths, path) != paths.end();
    });
}

std::optional<std::pair<std::string, std::string>> CDirCache::mark(const std::string& path,
                                                                   const std::string& mark) const {
    const auto fields = m_preferences->get(markKind, mark + " " + path);
    if (!fields || fields->size() != 2) return {};
    return std::pair((*fields)[0], (*fields)[1]);
}

void CDirCache::setMark(const std::string& path, const std::string& mark,
                        const std::optional<std::pair<std::string, std::string>>& value) {
    if (value) m_preferences->set(markKind, mark + " " + path, {value->first, value->second});
    else m_preferences->remove(markKind, mark + " " + path);
    tell(KZsNOTIFIER_DIRCACHE, path);
}

// Nobody may have registered such a notifier.
void CDirCache::tell(const char* notifier, const std::string& argument) const {
    m_notifiers->send(notifier, argument, KZfNOTIFY_REFRESH);
}

IKzUnknown* kzMakeDirCacheEntry(std::shared_ptr<CDirCache> cache, std::string path) {
    return kzMakeObject<CDirCacheEntry>(std::move(cache), std::move(path));
}

std::string kzDirCachePath(IKzUnknown* entry) {
    const auto own = CHostRef<CDirCacheEntry>::of(entry);
    if (!own) throw KZe_INVALIDARG;
    return own->path();
}

}  // namespace kzhost
