// Folders and files as they were when they were last read, with what is known of each.
#pragma once

#include "host/core/object.h"
#include "host/objects/file_metrics.h"
#include "host/state/value_types.h"

#include "kz/dir_cache.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

class CImageFiles;
class CModuleTable;
class CNotifierTable;
class CPreferences;
struct SyntheticEntry;

class CDirCache : public std::enable_shared_from_this<CDirCache> {
public:
    CDirCache(std::shared_ptr<CModuleTable> modules, std::shared_ptr<CPreferences> preferences,
              std::shared_ptr<CImageFiles> images, std::shared_ptr<CNotifierTable> notifiers);

    struct Row {
        bool exists = false, isDirectory = false;
        double modified = 0, bytes = 0;  // seconds since 1970; negative where a module does not say
        bool isRead = false;             // a folder whose names are known
        bool hasHidden = false;
        bool isServed = false;            // by a module: not on disk
        bool hasServed = false;           // of the names, some are not on disk
        std::uint64_t servers = 0;        // which servers there were when the names were read
        std::string userName, extension;  // of what is served
        std::vector<std::string> names;   // in their order
        std::optional<FileMetrics> metrics;
    };

    // The path in the form in which entries are kept.
    static std::string normal(const std::string& path);
    // As it was last read; read now if it never was.
    Row row(const std::string& path);
    void forget(const std::string& path);
    void refresh(const std::string& path);
    // Throws NOTFOUND for a folder that is not on disk. The flags are those of fDCSCAN.
    void scan(const std::string& path, std::uint32_t flags);
    bool isScanning() const noexcept { return m_scans > 0; }
    // The paths of a folder's children. The list is one of vDCELIST.
    std::vector<std::string> children(const std::string& path, std::uint32_t list);

    // Renames a file or folder on disk, and what is kept of it. The name is the last part of the path. Throws a code.
    void rename(const std::string& path, const std::string& name);

    std::string fileClass(const std::string& path);  // empty for an unknown one
    // Throws NOTFOUND or NOTREADY.
    KzCell metric(const std::string& path, const std::string& name);
    KzResult thumbnail(const std::string& path, std::int32_t width, std::int32_t height, IKzUnknown** image);

    // Base paths by browser; throws NOTFOUND for an unknown browser.
    std::vector<std::string> basePaths(const std::string& browser) const;
    void setBasePaths(const std::string& browser, std::vector<std::string> paths);
    bool isBasePath(const std::string& path) const;
    // Marks are kept with the user's settings. Nothing for none.
    std::optional<std::pair<std::string, std::string>> mark(const std::string& path, const std::string& mark) const;
    void setMark(const std::string& path, const std::string& mark,
                 const std::optional<std::pair<std::string, std::string>>& value);

private:
    struct Walk;

    Row look(const std::string& path) const;
    std::vector<SyntheticEntry> readNames(const std::string& path, bool hidden, Row& row) const;
    std::vector<SyntheticEntry> servedChildren(const std::string& path, const Row& row) const;
    void scanBelow(const std::string& path, std::uint32_t flags, Walk& walk);
    void readMetrics(const std::string& path);
    void keepMetrics(const std::string& path, FileMetrics metrics);
    void tellOfName(const std::string& path, const std::string& name) const;
    void tell(const char* notifier, const std::string& argument) const;

    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<CPreferences> m_preferences;
    std::shared_ptr<CImageFiles> m_images;
    std::shared_ptr<CNotifierTable> m_notifiers;
    mutable std::mutex m_lock;
    std::map<std::string, Row> m_rows;
    std::atomic<int> m_scans = 0;
};

IKzUnknown* kzMakeDirCacheEntry(std::shared_ptr<CDirCache> cache, std::string path);
// The path of one of these entries; throws INVALIDARG for another object.
std::string kzDirCachePath(IKzUnknown* entry);

}  // namespace kzhost
