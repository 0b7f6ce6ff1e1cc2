// Presets: their types, files and destinations.
#include "host/objects/presets.h"

#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/reason_guard.h"
#include "host/core/reasons.h"
#include "host/document/step_block.h"
#include "host/objects/open_scenes.h"
#include "host/state/text.h"
#include "host/state/version.h"

#include "kz/result.h"

#include <algorithm>
#include <filesystem>
#include <optional>

namespace kzhost {

namespace fs = std::filesystem;

namespace {

constexpr const char* itemKind = "item";

struct OwnType {
    const char* name;
    IKzUnknown* (*make)();
};
constexpr OwnType ownTypes[] = {{KZsPRESETTYPE_CHANNELS, kzMakeChannelPresets},
                                {KZsPRESETTYPE_PROFILE, kzMakeProfilePresets},
                                {KZsPRESETTYPE_COLOR, kzMakeColorPresets}};

}  // namespace

CPresets::CPresets(std::shared_ptr<CModuleTable> modules, std::shared_ptr<OpenScenes> scenes)
    : m_modules(std::move(modules)),
      m_scenes(std::move(scenes)), m_kinds{
                                       {KZu_PRESETDEST_ITEM, itemKind},       {KZu_PRESETDEST_MATERIAL, "material"},
                                       {KZu_PRESETDEST_TOOL, "tool"},         {KZu_PRESETDEST_VIEW, "view"},
                                       {KZu_PRESETDEST_ASSEMBLY, "assembly"}, {KZu_PRESETDEST_CHANNELS, "channels"}} {}

std::vector<std::string> CPresets::types() const {
    std::vector<std::string> names;
    for (const OwnType& own : ownTypes) names.emplace_back(own.name);
    for (const KzServer& server : m_modules->servers(KZa_PRESETTYPE)) names.push_back(server.name);
    return names;
}

void CPresets::make(const std::string& type, CKzUser_PresetType& object) const {
    CKzLoc_Unknown made;
    const auto own = std::ranges::find(ownTypes, type, &OwnType::name);
    if (own != std::end(ownTypes)) *made.out() = own->make();
    else if (const auto server = m_modules->find(KZa_PRESETTYPE, type)) CModuleTable::spawn(*server, made);
    else throw kzBecause(KZe_NOTFOUND, "Presets", [&] { return kzThereIsNo("preset type", type, types()); });
    if (!object.set(made.raw())) throw KZe_NOINTERFACE;
}

// A type that cannot be made, or fails, does not know the file.
bool CPresets::recognize(const std::string& path, RecognizedPreset& preset) const {
    for (const std::string& type : types()) {
        try {
            make(type, preset.type);
            const char* category = nullptr;
            if (kzFailed(preset.type.Recognize(path.c_str(), &category))) continue;
            preset.category = kzString(category);
            return true;
        } catch (KzResult) {
            continue;
        }
    }
    return false;
}

void CPresets::require(const std::string& path, RecognizedPreset& preset) const {
    std::error_code error;
    if (!fs::exists(path, error)) throw kzBecause(KZe_NOTFOUND, "Presets", [&] { return "there is no file " + path; });
    if (recognize(path, preset)) return;
    throw kzBecause(KZe_NOTFOUND, "Presets", [&] {
        std::string text = "no type of presets knows the file " + path + "; there are";
        for (const std::string& name : types()) text += " " + name;
        return text;
    });
}

KzResult CPresets::apply(const std::string& path, IKzUnknown* destination, bool isStep) const {
    RecognizedPreset preset;
    require(path, preset);
    std::optional<CStepBlock> step;
    if (isStep) step.emplace(*m_scenes->workspace, "preset");
    const KzResult code = preset.type.Apply(path.c_str(), destination);
    if (kzFailed(code)) throw code;
    return code;
}

void CPresets::save(const std::string& path, const std::string& type, IKzUnknown* source, IKzUnknown* thumbnail) const {
    CKzUser_PresetType object;
    make(type, object);
    std::error_code error;
    fs::create_directories(fs::path(path).parent_path(), error);
    KzResult code = object.Save(path.c_str(), source);
    if (kzSucceeded(code) && thumbnail != nullptr) code = object.StoreThumbnail(path.c_str(), thumbnail);
    if (kzFailed(code)) throw code == KZe_NOTIMPL ? KZe_NOTSUPPORTED : code;
}

bool CPresets::doByName(const std::string& name, IKzUnknown* destination) const {
    for (const KzServer& server : m_modules->servers(KZa_PRESETDO)) {
        CKzLoc_Unknown object;
        const CKzUser_PresetDo handler(CModuleTable::spawn(server, object).raw());
        const char* path = nullptr;
        if (!handler || kzFailed(handler.DoByName(name.c_str(), &path)) || path == nullptr) continue;
        if (const KzResult code = handler.Do(path, destination); kzFailed(code)) throw code;
        return true;
    }
    return false;
}

std::string CPresets::folder() {
    const std::string config = kzConfigFolder();
    return config.empty() ? config : config + "/presets";
}

std::vector<std::string> CPresets::names() const {
    std::vector<std::string> all;
    std::error_code error;
    for (const fs::directory_entry& each : fs::directory_iterator(folder(), error))
        if (RecognizedPreset preset; each.is_regular_file(error) && recognize(each.path().string(), preset))
            all.push_back(each.path().filename().string());
    std::sort(all.begin(), all.end());
    return all;
}

std::string CPresets::pathOf(const std::string& name) {
    if (name.find('/') != std::string::npos) return name;
    const std::string own = folder();
    if (own.empty()) throw kzBecause(KZe_NOTAVAILABLE, "Presets", [] { return "there is no home folder for presets"; });
    return own + "/" + name;
}

void CPresets::registerKind(const KzGuid& kind, const std::string& name) {
    const CReasonGuard lock(m_lock);
    for (const auto& [known, knownName] : m_kinds)
        if (known == kind || knownName == name)
            throw kzBecause(KZe_ALREADYEXISTS, "PresetDestination.Register", [&known = knownName] {
                return "the kind of destinations \"" + known + "\" has that name or identity";
            });
    m_kinds.emplace_back(kind, name);
}

std::string CPresets::kindOf(IKzUnknown* destination) const {
    if (CKzUser_Item(destination)) return itemKind;
    throw kzBecause(KZe_NOTFOUND, "PresetDestination.Identify", [] { return "presets apply to items only"; });
}

bool CPresets::accepts(IKzUnknown* destination, const std::string& path) const {
    RecognizedPreset preset;
    return recognize(path, preset) && preset.type.CanApplyTo(path.c_str(), destination);
}

std::vector<std::string> CPresets::candidates(const std::string& path) const {
    RecognizedPreset preset;
    require(path, preset);
    std::vector<std::string> idents;
    if (m_scenes->list.empty()) return idents;
    const CKzUser_Scene scene(m_scenes->list.back().raw());
    const std::uint32_t count = scene.ItemCount(KZiITYPE_ANY);
    for (std::uint32_t index = 0; index < count; ++index) {
        CKzLoc_Unknown object;
        const char* ident = nullptr;
        if (kzFailed(scene.ItemByIndex(KZiITYPE_ANY, index, object.out()))) continue;
        const CKzUser_Item item(object.raw());
        if (preset.type.CanApplyTo(path.c_str(), object.raw()) && kzSucceeded(item.Ident(&ident)))
            idents.push_back(kzString(ident));
    }
    return idents;
}

}  // namespace kzhost
