// Files that a scene names and that have moved since it was saved.
#include "host/objects/moved_files.h"

#include "host/core/module_table.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/document/edit.h"
#include "host/objects/file_redirect.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/dir_synth.h"
#include "kz/loader.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <climits>
#include <cstring>
#include <deque>
#include <filesystem>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

namespace kzhost {

namespace {

namespace fs = std::filesystem;

bool namesFile(const ChannelInfo& channel) {
    return channel.type != nullptr && std::string_view(channel.type->name) == KZsTYPE_FILEPATH;
}

// Asks each server once for the whole scene.
class CRedirectServers {
public:
    explicit CRedirectServers(const CModuleTable& modules) {
        for (const KzServer& server : modules.servers(KZa_FILEREDIRECT)) {
            CKzLoc_Unknown object;
            if (!m_servers.emplace_back().set(CModuleTable::spawn(server, object).raw())) m_servers.pop_back();
        }
    }
    // Empty if none of them knows.
    std::string find(const std::string& path) const {
        std::error_code error;
        for (const CKzUser_FileRedirect& each : m_servers) {
            std::string place(PATH_MAX, '\0');
            std::uint32_t how = 0;
            if (kzFailed(each.Locate(path.c_str(), KZsFILECLASS_IMAGE, place.data(), PATH_MAX, &how))) continue;
            place.resize(std::strlen(place.c_str()));
            if (fs::exists(place, error)) return place;
        }
        return {};
    }

private:
    std::deque<CKzUser_FileRedirect> m_servers;
};

// The folder of a scene's project.
fs::path projectOf(const std::string& scene) {
    std::error_code error;
    const fs::path folder = fs::absolute(scene, error).lexically_normal().parent_path();
    return folder.filename() == KZs_PROJDIR_SCENES ? folder.parent_path() : folder;
}

// Asks each server once for the whole scene about files that lie outside the project.
class CProjectServers {
public:
    CProjectServers(const CModuleTable& modules, const std::string& scene) : m_project(projectOf(scene)) {
        for (const KzServer& server : modules.servers(KZa_PROJDIROVERRIDE)) {
            CKzLoc_Unknown object;
            try {
                CModuleTable::spawn(server, object);
            } catch (KzResult code) {
                explain(server.name, code, "it cannot be made");
                continue;
            }
            auto& [name, own] = m_servers.emplace_back();
            name = server.name;
            own.set(object.raw());
        }
    }
    // Where the file is in the folder that a server names; empty if it stays where it is.
    std::string find(const std::string& path) const {
        if (m_servers.empty()) return {};
        std::error_code error;
        const fs::path file = fs::absolute(path, error).lexically_normal();
        const fs::path inside = file.lexically_relative(m_project);
        if (!inside.empty() && *inside.begin() != "..") return {};
        for (const auto& [name, server] : m_servers) {
            const char* folder = nullptr;
            const KzResult code = server.Override(path.c_str(), m_project.c_str(), &folder);
            if (kzRefuses(code)) explain(name, code, "Override of \"" + path + "\" failed");
            if (kzFailed(code) || kzTextOf(folder).empty()) continue;
            const fs::path place = m_project / folder / file.filename();  // an absolute folder stands for itself
            if (fs::is_regular_file(place, error)) return place.lexically_normal().string();
            explain(name, KZe_NOTFOUND,
                    "Override of \"" + path + "\" names a folder without it, \"" + kzString(folder) + "\"");
        }
        return {};
    }

private:
    static void explain(const std::string& server, KzResult code, const std::string& what) {
        kzBecause(code, "ProjDirOverride",
                  [&] { return "the server \"" + server + "\": " + what + ": " + kzCodeName(code); });
    }

    const fs::path m_project;
    std::deque<std::pair<std::string, CKzUser_ProjDirOverride>> m_servers;
};

}  // namespace

std::vector<FileChannel> kzFileChannels(const CDocument& document) {
    std::unordered_map<const ItemType*, std::vector<const ChannelInfo*>> byType;
    std::vector<FileChannel> found;
    document.each(KZiITYPE_ANY, [&](const Item& item) {
        const auto [entry, isNew] = byType.try_emplace(&item.type);
        if (isNew)
            for (const ChannelInfo& channel : item.type.channels)
                if (namesFile(channel)) entry->second.push_back(&channel);
        const auto add = [&](const ChannelInfo& channel) {
            const auto* path = std::get_if<std::string>(&item.valueOf(channel));
            if (path != nullptr && !path->empty()) found.push_back({item.ident, channel.name, *path});
        };
        for (const ChannelInfo* channel : entry->second) add(*channel);
        for (const auto& channel : item.userChannels)
            if (namesFile(*channel)) add(*channel);
    });
    return found;
}

// Rules and servers are asked without the lock, so an item may have gone meanwhile.
void kzFollowMovedFiles(CDocument& document, bool isImport, const MovedFiles& by, std::vector<std::string>& notes) {
    std::vector<FileChannel> channels;
    {
        const CReading reading(document.workspace());
        channels = kzFileChannels(document);
    }
    std::map<std::string, std::string> places;  // of missing files; empty for one that nobody finds
    std::error_code error;
    std::optional<CRedirectServers> servers;
    const CProjectServers projects(*by.modules, by.scene);
    for (const FileChannel& each : channels) {
        const std::string path = by.files->expand(each.path).value_or(each.path);
        if (places.contains(each.path)) continue;
        const std::string own = projects.find(path);
        if (own.empty() && fs::exists(path, error)) continue;
        std::uint32_t how = 0;
        std::string place = own.empty() ? by.rules->find(path, how) : own;
        if (place.empty() && !servers) servers.emplace(*by.modules);
        if (place.empty()) place = servers->find(path);
        notes.push_back(fmt::format("the file {} is {}", path, place.empty() ? "missing" : "now " + place));
        places.emplace(each.path, std::move(place));
    }
    if (places.empty()) return;
    CEdit edit(document.workspace());
    for (const FileChannel& each : channels) {
        const auto place = places.find(each.path);
        Item* item = document.byIdent(each.ident);
        const std::int32_t index = item != nullptr ? item->findChannel(each.channel) : -1;
        if (place == places.end() || place->second.empty() || index < 0) continue;
        edit.setValue(*item, *item->channelAt(static_cast<std::size_t>(index)), place->second);
    }
    if (isImport) edit.commit();
    else edit.commitLoaded(document);
}

}  // namespace kzhost
