// The files that the items of a scene name in their channels: where they are, and gathering them in one folder.
#include "host/objects/scene.h"

#include "host/core/reasons.h"
#include "host/objects/item_packages.h"
#include "host/objects/moved_files.h"
#include "host/state/text.h"

#include "kz/loader.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

namespace fs = std::filesystem;

// A file that an item needs: a channel names it or, by an identifier, an instance of a package.
struct Asset {
    std::string item, name, path;
    bool isServed = false;
};

// Calls `use(assets)` for what each instance of the item needs, until one returns true.
template <class Use> bool anyServed(const ServedItem& served, const Use& use) {
    return std::ranges::any_of(served.parts, [&](const auto& part) {
        const CKzUser_InstanceAssets assets(part->instance.raw());
        return assets && use(assets);
    });
}

void setServed(const ServedItemRef& served, const std::string& ident, const std::string& path) {
    KzResult code = KZe_NOTFOUND;
    const auto set = [&](const CKzUser_InstanceAssets& assets) {
        code = assets.SetFilename(ident.c_str(), path.c_str());
        return kzSucceeded(code);
    };
    if (served != nullptr && anyServed(*served, set)) return;
    throw kzBecause(code, "SceneAssets", [&] {
        return fmt::format("the path of \"{}\" stays, says its package: {}", ident, kzCodeName(code));
    });
}

// The file that one channel or instance names.
class CFileReference final : public CHosted<"file reference", CFileReference, CKzIfc_FileReference> {
public:
    CFileReference(CHostRef<CItem> item, std::string name, bool isServed)
        : m_item(std::move(item)), m_name(std::move(name)), m_isServed(isServed) {}

    KzResult filereference_Path(const char** path) override {
        *path = kzLend(here());
        return KZe_OK;
    }
    KzResult filereference_SetPath(const char* path) override {
        if (m_isServed) {
            setServed(served(), m_name, kzString(path));
            return KZe_OK;
        }
        CEdit edit(m_item->workspace());
        const auto item = m_item->read();
        kzWriteChannel(*item, kzChannelAt(*item, kzChannelIndex(*item, m_name)), kzString(path), edit);
        edit.commit();
        return KZe_OK;
    }
    bool filereference_IsFound() override {
        std::error_code error;
        return fs::exists(here(), error);
    }
    double filereference_ModifiedTime() override {
        std::error_code error;
        const auto time = fs::last_write_time(here(), error);
        if (error) return 0;
        const auto since = std::chrono::file_clock::to_sys(time).time_since_epoch();
        return std::chrono::duration<double>(since).count();
    }
    // Nothing of a file is kept, so the next one who reads it reads it anew.
    KzResult filereference_Reload() override { return filereference_IsFound() ? KZe_OK : KZe_NOTFOUND; }

private:
    ServedItemRef served() const {
        const CItemPackages* packages = kzItemPackages(m_item->workspace());
        return packages != nullptr ? packages->find(&*m_item->read()) : nullptr;
    }
    std::string here() const {
        if (m_isServed) {
            std::string path;
            const auto item = served();
            const auto find = [&](const CKzUser_InstanceAssets& assets) {
                path = kzAnswer([&](const char** text) { return assets.Filename(m_name.c_str(), text); });
                return !path.empty();
            };
            if (item != nullptr) anyServed(*item, find);
            return path;
        }
        const auto item = m_item->read();
        const auto* text = std::get_if<std::string>(&item->valueOf(kzChannelAt(*item, kzChannelIndex(*item, m_name))));
        return text != nullptr ? *text : std::string();
    }

    CHostRef<CItem> m_item;
    std::string m_name;
    bool m_isServed;
};

// The files as they are at each call.
class CSceneAssets final : public CHosted<"scene assets", CSceneAssets, CKzIfc_SceneAssets> {
public:
    explicit CSceneAssets(CHostRef<CScene> scene) : m_scene(std::move(scene)) {}

    std::uint32_t sceneassets_Count() override { return static_cast<std::uint32_t>(all().size()); }
    KzResult sceneassets_ByIndex(std::uint32_t index, IKzUnknown** item, const char** ident) override {
        const auto assets = all();
        if (index >= assets.size()) return KZe_OUTOFBOUNDS;
        *ident = kzLend(assets[index].name);
        const CReading reading(document().workspace());
        return kzGiveItem(document().byIdent(assets[index].item), item);
    }
    KzResult sceneassets_Reference(std::uint32_t index, IKzUnknown** file) override {
        const auto assets = all();
        if (index >= assets.size()) return KZe_OUTOFBOUNDS;
        const CReading reading(document().workspace());
        Item* item = document().byIdent(assets[index].item);
        if (item == nullptr) return KZe_NOTFOUND;
        return CHostRef<CFileReference>::make(kzObjectOf(*item), assets[index].name, assets[index].isServed).give(file);
    }
    KzResult sceneassets_Gather(const char* folder, std::int32_t copy) override;

private:
    CDocument& document() const { return m_scene->document(); }
    std::vector<Asset> all() const;
    ServedItemRef servedItem(const std::string& ident) const {
        const CReading reading(document().workspace());
        return kzItemPackages(document().workspace())->find(document().byIdent(ident));
    }

    CHostRef<CScene> m_scene;
};

std::vector<Asset> CSceneAssets::all() const {
    std::vector<Asset> assets;
    CWorkspace& workspace = document().workspace();
    if (const CItemPackages* packages = kzItemPackages(workspace))
        for (const ServedItemRef& served : packages->of(document()))
            anyServed(*served, [&](const CKzUser_InstanceAssets& needed) {
                std::uint32_t count = 0;
                if (kzFailed(needed.Count(&count))) return false;
                for (std::uint32_t i = 0; i < count; ++i) {
                    const auto ident = kzAnswer([&](const char** text) { return needed.IdentByIndex(i, text); });
                    auto path = kzAnswer([&](const char** text) { return needed.Filename(ident.c_str(), text); });
                    if (!path.empty()) assets.push_back({served->item->ident, ident, std::move(path), true});
                }
                return false;
            });
    const CReading reading(workspace);
    for (const FileChannel& each : kzFileChannels(document())) assets.push_back({each.ident, each.channel, each.path});
    return assets;
}

// All files are copied before a path changes, and only then does a moved file leave its place: a failure half-way leaves the
// scene and its files as they were. Files of one name from different folders get different names.
KzResult CSceneAssets::sceneassets_Gather(const char* folder, std::int32_t copy) {
    const fs::path target = kzString(folder);
    std::error_code error;
    if (target.empty()) return KZe_INVALIDARG;
    std::map<std::string, fs::path> places;
    std::set<fs::path> taken;
    const auto assets = all();
    for (const Asset& asset : assets) {
        if (places.contains(asset.path)) continue;
        if (!fs::is_regular_file(asset.path, error))
            return kzBecause(KZe_NOTFOUND, "SceneAssets.Gather",
                             [&] { return fmt::format("\"{}\" of \"{}\" is missing", asset.path, asset.name); });
        const fs::path source = asset.path;
        fs::path place = target / source.filename();
        const auto isFree = [&] {
            return !taken.contains(place) && (fs::equivalent(source, place, error) || !fs::exists(place, error));
        };
        for (int number = 2; !isFree(); ++number)
            place = target / fmt::format("{}-{}{}", source.stem().string(), number, source.extension().string());
        taken.insert(place);
        places.emplace(asset.path, place);
    }
    fs::create_directories(target, error);
    for (const auto& [path, place] : places) {
        if (fs::equivalent(path, place, error)) continue;
        if (!fs::copy_file(path, place, error))
            return kzBecause(KZe_NOACCESS, "SceneAssets.Gather", [&error, &path = path] {
                return fmt::format("\"{}\" cannot be copied: {}", path, error.message());
            });
    }
    for (const Asset& asset : assets)
        if (asset.isServed) setServed(servedItem(asset.item), asset.name, places.at(asset.path).string());
    {
        CEdit edit(document().workspace());
        for (const Asset& asset : assets)
            if (Item* item = asset.isServed ? nullptr : document().byIdent(asset.item))
                kzWriteChannel(*item, kzChannelAt(*item, kzChannelIndex(*item, asset.name)),
                               places.at(asset.path).string(), edit);
        edit.commit();
    }
    for (const auto& [path, place] : places)
        if (copy == 0 && !fs::equivalent(path, place, error)) fs::remove(path, error);
    return KZe_OK;
}

}  // namespace

IKzUnknown* kzMakeSceneAssets(CHostRef<CScene> scene) { return kzMakeObject<CSceneAssets>(std::move(scene)); }

}  // namespace kzhost
