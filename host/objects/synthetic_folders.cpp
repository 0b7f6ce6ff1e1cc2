// Folders and files that are not on disk.
#include "host/objects/synthetic_folders.h"

#include "host/core/module_table.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/objects/image_edits.h"
#include "host/state/function_ref.h"
#include "host/state/readable_number.h"
#include "host/state/text.h"

#include "kz/base/object_output.h"
#include "kz/dir_cache.h"
#include "kz/dir_synth.h"
#include "kz/image.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string_view>
#include <utility>

namespace kzhost {

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t mostSyntheticEntries = 1000000;  // in one folder
constexpr int deepestFetch = 8;                          // of trees that fetch files from each other

// Throws the code, with what the server has done wrong in the log. The place names the operation.
[[noreturn]] void blame(const KzServer& server, const char* place, KzResult code, const std::string& what) {
    throw kzBecause(code, place, [&] { return fmt::format("the server \"{}\": {}", server.name, what); });
}

std::string withoutSlashes(std::string_view path) {
    while (path.starts_with('/')) path.remove_prefix(1);
    while (path.ends_with('/')) path.remove_suffix(1);
    return std::string(path);
}

std::string syntheticJoin(const std::string& folder, const std::string& name) {
    if (name.empty()) return folder;
    return folder.ends_with('/') ? folder + name : folder + "/" + name;
}

// A tree and where it is shown.
struct SyntheticTree {
    KzServer server;
    std::string base;  // absolute, without a slash at its end

    // The path within the tree; nothing for one that is not below the base path.
    std::optional<std::string> inside(const std::string& path) const {
        if (path == base) return std::string();
        const std::string start = base == "/" ? base : base + "/";
        if (!path.starts_with(start)) return {};
        return path.substr(start.size());
    }
};

std::vector<SyntheticTree> syntheticTrees(const CModuleTable& modules) {
    std::vector<SyntheticTree> trees;
    for (const KzServer& server : modules.servers(KZa_DIRCACHESYNTHETIC)) {
        std::string base;
        for (const auto& [tag, value] : CModuleTable::tagsOf(server))
            if (tag == KZsTAG_DIRSYNTH_ROOT) base = fs::path(value).lexically_normal().string();
        while (base.size() > 1 && base.ends_with('/')) base.pop_back();
        if (base.starts_with('/')) trees.push_back({server, std::move(base)});
        else
            kzBecause(KZe_INVALIDARG, "DirCacheSynthetic", [&] {
                return fmt::format(
                    "the server \"{}\" is shown nowhere: its tag {} is \"{}\", which is no absolute path", server.name,
                    KZsTAG_DIRSYNTH_ROOT, base);
            });
    }
    return trees;
}

using SyntheticObject = CKzUser_DirCacheSyntheticEntry;

// Asks for an entry, and checks that one has come.
template <class Ask>
bool takeEntry(const SyntheticTree& tree, const char* place, const std::string& what, SyntheticObject& entry,
               const Ask& ask) {
    CKzLoc_Unknown object;
    const KzResult code = kzTakeOutput(object, ask);
    if (code == KZe_NOTFOUND) return false;
    if (kzFailed(code)) blame(tree.server, place, code, fmt::format("{} ended with {}", what, kzCodeName(code)));
    if (!entry.set(object.raw())) blame(tree.server, place, KZe_FAILED, what + " answers no DirCacheSyntheticEntry");
    return true;
}

std::string pathWithin(const SyntheticTree& tree, const SyntheticObject& entry, const std::string& what) {
    const char* path = nullptr;
    if (const KzResult code = entry.Path(&path); kzFailed(code))
        blame(tree.server, "DirCacheSyntheticEntry.Path", code,
              fmt::format("Path of {} ended with {}", what, kzCodeName(code)));
    return withoutSlashes(kzTextOf(path));
}

// False if the tree has no such entry.
bool findEntry(const SyntheticTree& tree, const std::string& inside, SyntheticObject& entry) {
    CKzLoc_Unknown object;
    CKzUser_DirCacheSynthetic server;
    try {
        server.set(CModuleTable::spawn(tree.server, object).raw());
    } catch (KzResult code) {
        blame(tree.server, "DirCacheSynthetic", code, "it cannot be made: " + kzCodeName(code));
    }
    if (!server) blame(tree.server, "DirCacheSynthetic", KZe_NOINTERFACE, "it is no DirCacheSynthetic");
    const std::string what = inside.empty() ? std::string("Root") : fmt::format("Lookup of \"{}\"", inside);
    const bool isFound = takeEntry(
        tree, inside.empty() ? "DirCacheSynthetic.Root" : "DirCacheSynthetic.Lookup", what, entry,
        [&](IKzUnknown** out) { return inside.empty() ? server.Root(out) : server.Lookup(inside.c_str(), out); });
    if (!isFound) return false;
    if (const std::string path = pathWithin(tree, entry, what); path != inside)
        blame(tree.server, "DirCacheSyntheticEntry.Path", KZe_FAILED,
              fmt::format("{} answers the entry \"{}\"", what, path));
    return true;
}

// Calls `use` for the entry in each tree that has it, until one returns true.
bool withEntry(const CModuleTable& modules, const std::string& path,
               CFunctionRef<bool(const SyntheticTree& tree, const SyntheticObject& entry)> use) {
    for (const SyntheticTree& tree : syntheticTrees(modules)) {
        const auto inside = tree.inside(path);
        SyntheticObject entry;
        if (inside && findEntry(tree, *inside, entry) && use(tree, entry)) return true;
    }
    return false;
}

// What an operation answers, or else what stands in for it where the server does not implement it.
template <class Operation>
std::string syntheticText(const SyntheticTree& tree, const std::string& path, const char* name, std::string otherwise,
                          const Operation& operation) {
    const char* text = nullptr;
    const KzResult code = operation(&text);
    if (code == KZe_NOTIMPL || code == KZe_NOTFOUND) return otherwise;
    if (kzFailed(code))
        blame(tree.server, "DirCacheSyntheticEntry", code,
              fmt::format("{} of \"{}\" ended with {}", name, path, kzCodeName(code)));
    return kzTextOf(text).empty() ? otherwise : kzString(text);
}

SyntheticEntry describeEntry(const SyntheticTree& tree, const std::string& path, const SyntheticObject& entry) {
    SyntheticEntry own;
    own.path = path;
    const fs::path parts(path);
    own.isFile = entry.IsFile();
    own.userName = syntheticText(tree, path, "DirUserName", parts.filename().string(),
                                 [&](const char** name) { return entry.DirUserName(name); });
    const std::string dotted = own.isFile ? parts.extension().string() : std::string();
    own.extension = syntheticText(tree, path, "FileExtension", dotted.empty() ? dotted : dotted.substr(1),
                                  [&](const char** extension) { return entry.FileExtension(extension); });
    const auto number = [&](const char* name, double value, bool isFine, double otherwise) {
        if (isFine) return value;
        kzBecause(KZe_INVALIDARG, "DirCacheSyntheticEntry", [&] {
            return fmt::format("the server \"{}\": {} of \"{}\" is {}", tree.server.name, name, path,
                               kzReadable(value));
        });
        return otherwise;
    };
    double seconds = 0;
    if (const KzResult code = entry.ModifiedTime(&seconds); kzSucceeded(code))
        own.modified = number("ModifiedTime", seconds, std::isfinite(seconds), 0);
    else if (kzRefuses(code) && code != KZe_NOTFOUND)
        blame(tree.server, "DirCacheSyntheticEntry.ModifiedTime", code,
              fmt::format("ModifiedTime of \"{}\" ended with {}", path, kzCodeName(code)));
    if (own.isFile) {
        const double bytes = entry.Size();
        own.bytes = number("Size", bytes, std::isfinite(bytes) && bytes >= 0, -1);
    }
    return own;
}

// The name of an entry that has to be right below a folder.
std::string childName(const SyntheticTree& tree, const std::string& folder, const SyntheticObject& child,
                      const std::string& what) {
    const std::string path = pathWithin(tree, child, what);
    const std::string start = folder.empty() ? folder : folder + "/";
    std::string name = path.starts_with(start) ? path.substr(start.size()) : std::string();
    if (name.empty() || name.find('/') != std::string::npos || name == "." || name == "..")
        blame(tree.server, "DirCacheSyntheticEntry.Path", KZe_FAILED,
              fmt::format("{} is \"{}\", which is not in that folder", what, path));
    return name;
}

void addSyntheticChildren(const SyntheticTree& tree, const std::string& path, const SyntheticObject& folder,
                          std::vector<SyntheticEntry>& all) {
    const std::uint32_t count = folder.DirCount(KZvDCELIST_BOTH);
    if (count > mostSyntheticEntries)
        blame(tree.server, "DirCacheSyntheticEntry.DirCount", KZe_OUTOFBOUNDS,
              fmt::format("DirCount of \"{}\" is {}; {} is the most", path, count, mostSyntheticEntries));
    const std::string inside = *tree.inside(path);
    for (std::uint32_t index = 0; index < count; ++index) {
        const std::string what = fmt::format("DirByIndex {} of \"{}\"", index, path);
        SyntheticObject child;
        if (!takeEntry(tree, "DirCacheSyntheticEntry.DirByIndex", what, child,
                       [&](IKzUnknown** out) { return folder.DirByIndex(KZvDCELIST_BOTH, index, out); }))
            blame(tree.server, "DirCacheSyntheticEntry.DirByIndex", KZe_NOTFOUND,
                  fmt::format("{} ended with NOTFOUND, but DirCount is {}", what, count));
        all.push_back(describeEntry(tree, syntheticJoin(path, childName(tree, inside, child, what)), child));
    }
}

// A picture of no more than that many pixels.
KzResult fitted(const CKzLoc_Unknown& picture, std::int32_t width, std::int32_t height, IKzUnknown** image) {
    std::int32_t wide = 0, high = 0;
    const CKzUser_Image own(picture.raw());
    if (const KzResult code = own.Size(&wide, &high); kzFailed(code)) return code;
    if (wide <= width && high <= height) return picture.get(image);
    const double factor = std::min(static_cast<double>(width) / wide, static_cast<double>(height) / high);
    const auto scaled = [&](std::int32_t side) { return std::max(1, static_cast<std::int32_t>(side * factor)); };
    return kzScaleImage(picture.raw(), scaled(wide), scaled(high), KZiIMG_FILTER_AREA).give(image);
}

}  // namespace

namespace {

// A tree that looks into itself in order to answer would never end.
class CAsking {
public:
    CAsking() {
        if (theDepth == mostAsking)
            throw kzBecause(KZe_FAILED, "DirCacheSynthetic",
                            [] { return "a tree asks for folders of trees in order to say what is in a folder"; });
        ++theDepth;
    }
    CAsking(const CAsking&) = delete;
    CAsking& operator=(const CAsking&) = delete;
    ~CAsking() { --theDepth; }

private:
    static constexpr int mostAsking = 2;
    static inline thread_local int theDepth = 0;
};

}  // namespace

std::optional<SyntheticEntry> kzSyntheticEntry(const CModuleTable& modules, const std::string& path) {
    const CAsking asking;
    std::optional<SyntheticEntry> found;
    withEntry(modules, path, [&](const SyntheticTree& tree, const SyntheticObject& entry) {
        found = describeEntry(tree, path, entry);
        return true;
    });
    return found;
}

std::vector<SyntheticEntry> kzSyntheticChildren(const CModuleTable& modules, const std::string& path) {
    const CAsking asking;
    std::vector<SyntheticEntry> all;
    withEntry(modules, path, [&](const SyntheticTree& tree, const SyntheticObject& entry) {
        if (!entry.IsFile()) addSyntheticChildren(tree, path, entry, all);
        return false;
    });
    return all;
}

std::vector<std::string> kzSyntheticRoots(const CModuleTable& modules, const std::string& folder) {
    std::vector<std::string> names;
    for (const SyntheticTree& tree : syntheticTrees(modules)) {
        const fs::path base(tree.base);
        if (base.has_filename() && base.parent_path() == fs::path(folder)) names.push_back(base.filename().string());
    }
    return names;
}

void kzSyntheticMetrics(const CModuleTable& modules, const std::string& path, IKzUnknown* metrics) {
    withEntry(modules, path, [&](const SyntheticTree& tree, const SyntheticObject& entry) {
        if (const KzResult code = entry.Metrics(metrics); kzRefuses(code) && code != KZe_NOTFOUND)
            blame(tree.server, "DirCacheSyntheticEntry.Metrics", code,
                  fmt::format("Metrics of \"{}\" ended with {}", path, kzCodeName(code)));
        return true;
    });
}

KzResult kzSyntheticThumbnail(const CModuleTable& modules, const std::string& path, std::int32_t width,
                              std::int32_t height, IKzUnknown** image) {
    CKzLoc_Unknown picture;
    const bool isFound = withEntry(modules, path, [&](const SyntheticTree& tree, const SyntheticObject& entry) {
        const char* tooltip = nullptr;
        const KzResult code =
            kzTakeOutput(picture, [&](IKzUnknown** out) { return entry.Thumbnail(width, height, out, &tooltip); });
        if (kzRefuses(code) && code != KZe_NOTFOUND)
            blame(tree.server, "DirCacheSyntheticEntry.Thumbnail", code,
                  fmt::format("Thumbnail of \"{}\" ended with {}", path, kzCodeName(code)));
        if (picture && !CKzUser_Image(picture.raw()))
            blame(tree.server, "DirCacheSyntheticEntry.Thumbnail", KZe_NOINTERFACE,
                  fmt::format("Thumbnail of \"{}\" answers no image", path));
        return bool(picture);
    });
    return isFound ? fitted(picture, width, height, image) : KZe_NOTFOUND;
}

std::string kzLocalFile(const CModuleTable& modules, const std::string& path) {
    std::error_code error;
    if (fs::exists(path, error)) return path;
    thread_local int depth = 0;
    struct Fetch {
        Fetch() { ++depth; }
        ~Fetch() { --depth; }
    } const fetch;
    std::string local = path;
    withEntry(modules, path, [&](const SyntheticTree& tree, const SyntheticObject& entry) {
        if (!entry.IsFile()) return false;
        if (depth > deepestFetch)
            blame(tree.server, "DirCacheSyntheticEntry.Open", KZe_FAILED,
                  fmt::format("Open of \"{}\" needs itself", path));
        const char* file = nullptr;
        if (const KzResult code = entry.Open(&file); kzFailed(code))
            blame(tree.server, "DirCacheSyntheticEntry.Open", code,
                  fmt::format("Open of \"{}\" ended with {}", path, kzCodeName(code)));
        local = kzString(file);
        if (!fs::is_regular_file(local, error))
            blame(tree.server, "DirCacheSyntheticEntry.Open", KZe_FAILED,
                  fmt::format("Open of \"{}\" answers \"{}\", which is no file", path, local));
        return true;
    });
    return local;
}

}  // namespace kzhost
