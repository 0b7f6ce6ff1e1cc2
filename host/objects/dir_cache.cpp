// Folders and files as they were when they were last read.
#include "host/objects/dir_cache.h"

#include "host/core/module_table.h"
#include "host/core/notifier_table.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/core/values.h"
#include "host/objects/file_metrics.h"
#include "host/objects/image_edits.h"
#include "host/objects/image_files.h"
#include "host/objects/synthetic_folders.h"
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

namespace {

CDirCache::Row rowOf(const SyntheticEntry& entry) {
    CDirCache::Row row;
    row.exists = row.isServed = true;
    row.isDirectory = !entry.isFile;
    row.modified = entry.modified;
    row.bytes = entry.bytes;
    row.userName = entry.userName;
    row.extension = entry.extension;
    return row;
}

}  // namespace

// What is on disk comes before what modules serve.
CDirCache::Row CDirCache::look(const std::string& path) const {
    Row row;
    std::error_code error;
    const auto status = fs::status(path, error);
    row.exists = fs::exists(status);
    row.isDirectory = fs::is_directory(status);
    if (!row.exists) {
        const auto served = kzSyntheticEntry(*m_modules, path);
        return served ? rowOf(*served) : row;
    }
    const auto time = fs::last_write_time(path, error);
    if (!error) row.modified = secondsOf(time);
    const auto size = row.isDirectory ? 0 : fs::file_size(path, error);
    if (!error && !row.isDirectory) row.bytes = static_cast<double>(size);
    return row;
}

// Modules are asked without the lock; the first answer counts.
CDirCache::Row CDirCache::row(const std::string& path) {
    {
        const std::lock_guard guard(m_lock);
        if (const auto known = m_rows.find(path); known != m_rows.end()) return known->second;
    }
    Row now = look(path);
    const std::lock_guard guard(m_lock);
    return m_rows.try_emplace(path, std::move(now)).first->second;
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

// A tree that fails takes nothing from a folder on disk.
std::vector<SyntheticEntry> CDirCache::servedChildren(const std::string& path, const Row& row) const {
    try {
        return kzSyntheticChildren(*m_modules, path);
    } catch (KzResult) {
        if (row.isServed) throw;
        return {};
    }
}

// Returns those of them that are served.
std::vector<SyntheticEntry> CDirCache::readNames(const std::string& path, bool hidden, Row& row) const {
    std::error_code error;
    row.servers = m_modules->changes();
    const auto add = [&](std::string name) {
        if (hidden || !name.starts_with('.')) row.names.push_back(std::move(name));
    };
    for (fs::directory_iterator each(path, error), end; !error && each != end; each.increment(error))
        add(each->path().filename().string());
    const std::size_t onDisk = row.names.size();
    std::vector<SyntheticEntry> served = servedChildren(path, row);
    std::erase_if(served, [](const SyntheticEntry& each) {
        std::error_code none;
        return fs::exists(each.path, none);
    });
    for (const SyntheticEntry& each : served) add(lastPart(each.path));
    for (std::string& name : kzSyntheticRoots(*m_modules, path)) add(std::move(name));
    row.hasServed = row.names.size() > onDisk;
    std::ranges::sort(row.names);
    row.names.erase(std::unique(row.names.begin(), row.names.end()), row.names.end());
    row.isRead = true;
    row.hasHidden = hidden;
    return served;
}

// A served tree without an end must not exhaust the host's memory or stack.
struct CDirCache::Walk {
    static constexpr std::size_t deepest = 256, most = 1000000;
    const std::string root;
    std::size_t depth = 0, entries = 0;

    void enter(std::size_t count) {
        entries += count;
        if (++depth > deepest || entries > most)
            throw kzBecause(KZe_OUTOFBOUNDS, "DirCache.Scan", [&] {
                return fmt::format("below \"{}\" there are more than {} folders in each other, or {} entries", root,
                                   deepest, most);
            });
    }
    void leave() { --depth; }
};

void CDirCache::scan(const std::string& path, std::uint32_t flags) {
    struct Scan {
        explicit Scan(std::atomic<int>& scans) : scans(scans) { ++scans; }
        ~Scan() { --scans; }
        std::atomic<int>& scans;
    };
    const Scan running(m_scans);
    Walk walk{path};
    scanBelow(path, flags, walk);
}

void CDirCache::scanBelow(const std::string& path, std::uint32_t flags, Walk& walk) {
    const bool hidden = (flags & KZfDCSCAN_HIDDEN) != 0;
    const Row before = row(path);
    Row now = look(path);
    if (!now.isDirectory)
        throw kzBecause(KZe_NOTFOUND, "DirCache.Scan", [&] { return "there is no folder \"" + path + "\""; });
    const bool isSame = before.isRead && before.hasHidden == hidden && before.modified == now.modified &&
                        !now.isServed && !before.hasServed && before.servers == m_modules->changes();
    if (!isSame || (flags & KZfDCSCAN_FORCE) != 0) {
        const auto served = readNames(path, hidden, now);
        const std::lock_guard guard(m_lock);
        for (const std::string& name : now.names) m_rows.erase(normal(fmt::format("{}/{}", path, name)));
        for (const SyntheticEntry& each : served) m_rows.try_emplace(each.path, rowOf(each));
        m_rows[path] = std::move(now);
    }
    const auto all = children(path, KZvDCELIST_BOTH);
    walk.enter(all.size());
    for (const std::string& child : all) {
        const bool isFolder = row(child).isDirectory;
        std::error_code error;
        const bool descends = (flags & KZfDCSCAN_RECURSE) != 0 && !fs::is_symlink(child, error);  // which may lead back
        if (isFolder && descends) scanBelow(child, flags, walk);
        if (!isFolder && (flags & KZfDCSCAN_METRICS) != 0) readMetrics(child);
    }
    walk.leave();
    if (!isSame) tell(KZsNOTIFIER_DIRCACHE, path);
}

std::vector<std::string> CDirCache::children(const std::string& path, std::uint32_t list) {
    std::vector<std::string> paths;
    for (const std::string& name : row(path).names) {
        std::string child = normal(fmt::format("{}/{}", path, name));
        const std::uint32_t own = row(child).isDirectory ? KZvDCELIST_DIRS : KZvDCELIST_FILES;
        if ((list & own) != 0) paths.push_back(std::move(child));
    }
    return paths;
}

std::string CDirCache::fileClass(const std::string& path) {
    const Row own = row(path);
    const std::string name = own.isServed ? "file." + own.extension : path;
    if ((own.isServed ? kzPictureFormatFor({}, name) : kzPictureFormatOf(name)) != nullptr) return KZsFILECLASS_IMAGE;
    const std::string extension = fs::path(name).extension().string();
    if (extension == ".kzscene") return KZsFILECLASS_SCENE;
    for (const KzServer& server : m_modules->servers(KZa_LOADER)) {
        std::string kind, patterns;
        for (const auto& [tag, value] : CModuleTable::tagsOf(server)) {
            if (tag == "file.class") kind = value;
            if (tag == "loader.dosPattern") patterns = value;
        }
        if (!extension.empty() && (";" + patterns + ";").find(";*" + extension + ";") != std::string::npos) return kind;
    }
    return {};
}

// Each server says what it knows of the file; what two know, the first one says.
void CDirCache::readMetrics(const std::string& path) {
    FileMetrics all;
    if (row(path).isServed) {
        try {
            all = kzFilledMetrics([&](IKzUnknown* into) { return kzSyntheticMetrics(*m_modules, path, into), true; });
        } catch (KzResult) {  // the log says why
        }
        return keepMetrics(path, std::move(all));
    }
    for (const KzServer& server : m_modules->servers(KZa_DIRCACHEFILEMETRICS)) {
        CKzLoc_Unknown object;
        try {
            const CKzUser_DirCacheFileMetrics reader(CModuleTable::spawn(server, object).raw());
            all.merge(
                kzFilledMetrics([&](IKzUnknown* into) { return kzSucceeded(reader.Metrics(path.c_str(), into)); }));
        } catch (KzResult code) {
            kzBecause(code, "DirCache.Scan", [&] { return "the server \"" + server.name + "\" reads no metrics"; });
        }
    }
    keepMetrics(path, std::move(all));
}

void CDirCache::keepMetrics(const std::string& path, FileMetrics metrics) {
    const std::lock_guard guard(m_lock);
    if (const auto row = m_rows.find(path); row != m_rows.end()) row->second.metrics = std::move(metrics);
}

KzCell CDirCache::metric(const std::string& path, const std::string& name) {
    const Row own = row(path);
    if (name == KZsMETRIC_NAME) return lastPart(path);
    if (name == KZsMETRIC_MODIFIED && own.exists) return own.modified;
    if (name == KZsMETRIC_SIZE && own.exists && !own.isDirectory && own.bytes >= 0) return own.bytes;
    if (name == KZsMETRIC_TYPE && !own.isDirectory)
        if (std::string type = fileClass(path); !type.empty()) return type;
    if (!own.metrics && own.exists && !own.isDirectory) throw KZe_NOTREADY;
    const auto found = own.metrics ? own.metrics->find(name) : FileMetrics::const_iterator{};
    if (!own.metrics || found == own.metrics->end()) throw KZe_NOTFOUND;
    return found->second;
}

// A server's own, or else the picture in small.
KzResult CDirCache::thumbnail(const std::string& path, std::int32_t width, std::int32_t height, IKzUnknown** image) {
    if (row(path).isServed) return kzSyntheticThumbnail(*m_modules, path, width, height, image);
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

// Servers that know of a file let what belongs to it follow. One that fails is named, and the others are told.
void CDirCache::tellOfName(const std::string& path, const std::string& name) const {
    for (const KzServer& server : m_modules->servers(KZa_DIRCACHEFILEMETRICS)) {
        CKzLoc_Unknown object;
        KzResult code = KZe_OK;
        try {
            code = CKzUser_DirCacheFileMetrics(CModuleTable::spawn(server, object).raw())
                       .Rename(path.c_str(), name.c_str());
        } catch (KzResult thrown) {
            code = thrown;
        }
        if (kzRefuses(code))
            kzBecause(code, "DirCacheFileMetrics.Rename", [&] {
                return fmt::format("the server \"{}\" does not follow \"{}\" to \"{}\": {}", server.name, path, name,
                                   kzCodeName(code));
            });
    }
}

void CDirCache::rename(const std::string& path, const std::string& name) {
    const auto refuse = [&](KzResult code, const std::string& why) {
        return kzBecause(code, "file.rename", [&] { return fmt::format("\"{}\" {}", path, why); });
    };
    if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos)
        throw refuse(KZe_INVALIDARG, "cannot become \"" + name + "\": a name is wanted, not a path");
    std::error_code error;
    if (!fs::exists(fs::symlink_status(path, error)))
        throw look(path).isServed
            ? refuse(KZe_NOTSUPPORTED, "is not on disk, and its tree has no operation to rename it")
            : refuse(KZe_NOTFOUND, "does not exist");
    const fs::path folder = fs::path(path).parent_path();
    const std::string target = (folder / name).string();
    if (fs::exists(fs::symlink_status(target, error)))
        throw refuse(KZe_ALREADYEXISTS, "cannot become \"" + name + "\", which exists");
    fs::rename(path, target, error);
    if (error)
        throw refuse(error == std::errc::permission_denied ? KZe_NOACCESS : KZe_FAILED, "stays: " + error.message());
    // Marks are kept by a word and the path: those of the file, and of what is in a folder.
    for (const std::string& key : m_preferences->names(markKind)) {
        const std::size_t blank = key.find(' ');
        const std::string marked = key.substr(std::min(blank, key.size() - 1) + 1);
        if (marked != path && !marked.starts_with(path + "/")) continue;
        const auto fields = m_preferences->get(markKind, key);
        if (fields)
            m_preferences->set(markKind, key.substr(0, blank + 1) + target + marked.substr(path.size()), *fields);
        m_preferences->remove(markKind, key);
    }
    {
        const std::lock_guard guard(m_lock);
        std::erase_if(m_rows,
                      [&](const auto& each) { return each.first == path || each.first.starts_with(path + "/"); });
        m_rows.erase(target);
    }
    tellOfName(path, name);
    refresh(folder.string());
}

// Nobody may have registered such a notifier.
void CDirCache::tell(const char* notifier, const std::string& argument) const {
    m_notifiers->send(notifier, argument, KZfNOTIFY_REFRESH);
}

}  // namespace kzhost
