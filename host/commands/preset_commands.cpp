// Commands for presets: saving, listing and applying them.
#include "host/commands/preset_commands.h"

#include "host/commands/builtin_command.h"
#include "host/core/reasons.h"
#include "host/objects/image_files.h"
#include "host/objects/open_scenes.h"
#include "host/objects/presets.h"
#include "host/state/path_aliases.h"

#include "kz/command.h"
#include "kz/preset_browser.h"
#include "kz/result.h"
#include "kz/value.h"

#include <filesystem>
#include <string>

namespace kzhost {

namespace {

constexpr const char* nameMeaning = "the preset's name among the user's own, or the path of its file";
constexpr ArgumentRow savePresetArguments[] = {
    {"name", KZsTYPE_STRING, 0, nameMeaning},
    {"item", KZsTYPE_STRING, 0, "the item of the current scene whose settings it is to hold"},
    {KZsARG_PRESET_TYPE, KZsTYPE_STRING, kzOptional | kzQueryable,
     "the type of preset, preset.channels when it is left out; queried, all of them"},
    {KZsARG_PRESET_THUMB, KZsTYPE_FILEPATH, kzOptional, "the file of its picture"},
};
constexpr ArgumentRow listPresetArguments[] = {
    {"name", KZsTYPE_STRING, kzOptional | kzQueryable, "queried, the user's own presets"},
    {KZsARG_PRESET_TYPE, KZsTYPE_STRING, kzOptional | kzQueryable,
     "queried, the category of the preset with that name"},
};
constexpr ArgumentRow applyPresetArguments[] = {
    {"name", KZsTYPE_STRING, 0, nameMeaning},
    {"item", KZsTYPE_STRING, 0, "the item of the current scene that it is applied to"},
};

CKzLoc_Unknown& findItem(OpenScenes& scenes, CBuiltinCommand& command, CKzLoc_Unknown& item) {
    const std::string name = command.text("item");
    if (scenes.list.empty()) kzRefuse(KZe_NOTFOUND, "there is no scene, and so no item");
    const CKzUser_Scene scene(scenes.list.back().raw());
    if (kzFailed(scene.ItemLookup(name.c_str(), item.out())))
        kzRefuse(KZe_NOTFOUND, "argument \"item\": there is no item \"" + name + "\"");
    return item;
}

std::string nameOf(CBuiltinCommand& command) {
    std::string name = command.text("name");
    if (name.empty() || name.front() == '.') kzRefuse(KZe_INVALIDARG, "argument \"name\": a preset needs a name");
    return name;
}

// A picture that cannot be read is refused before anything is written.
void savePreset(const PresetParts& parts, CBuiltinCommand& command) {
    CKzLoc_Unknown item;
    const std::string type =
        command.has(KZsARG_PRESET_TYPE) ? command.text(KZsARG_PRESET_TYPE) : KZsPRESETTYPE_CHANNELS;
    const std::string picture = command.text(KZsARG_PRESET_THUMB);
    findItem(*parts.scenes, command, item);
    const CHostRef<CImage> image =
        picture.empty() ? CHostRef<CImage>() : parts.images->load(parts.files->place(picture.c_str()), nullptr);
    parts.presets->save(kzPresetPath(command), type, item.raw(), image ? image.raw() : nullptr);
}

Texts queryPresetTypes(CPresets& presets, CBuiltinCommand& /*command*/, std::uint32_t /*index*/) {
    return presets.types();
}

Texts queryPresetList(CPresets& presets, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return presets.names();
    RecognizedPreset preset;
    const std::string name = nameOf(command);
    if (!presets.recognize(kzPresetPath(command), preset))
        kzRefuse(KZe_NOTFOUND, kzThereIsNo("preset", name, presets.names()));
    return {preset.category};
}

// A name that is none of the user's own may be one that a module brings.
void applyPreset(CPresets& presets, OpenScenes& scenes, CBuiltinCommand& command) {
    CKzLoc_Unknown item;
    const std::string name = nameOf(command);
    findItem(scenes, command, item);
    const std::string path = kzPresetPath(command);
    std::error_code error;
    if (std::filesystem::exists(path, error)) presets.apply(path, item.raw());
    else if (!presets.doByName(name, item.raw())) kzRefuse(KZe_NOTFOUND, kzThereIsNo("preset", name, presets.names()));
}

}  // namespace

std::string kzPresetPath(CBuiltinCommand& command) { return CPresets::pathOf(nameOf(command)); }

void kzAddPresetCommands(CCommandRegistry& registry, const PresetParts& parts) {
    const auto& [presets, scenes, images, files] = parts;
    kzAddCommands(
        registry,
        {
            {"preset.save", "Save Preset", "saves the settings of an item as a preset", KZfCMD_UI, savePresetArguments,
             [parts](CBuiltinCommand& command) { savePreset(parts, command); }, kzWith(queryPresetTypes, presets)},
            {"preset.list", "List Presets", "the user's own presets", KZfCMD_UI, listPresetArguments, kzOnlyQueried,
             kzWith(queryPresetList, presets)},
            {"preset.apply", "Apply Preset", "applies a preset to an item", KZfCMD_UNDO | KZfCMD_MODEL,
             applyPresetArguments, kzWith(applyPreset, presets, scenes)},
        });
}

}  // namespace kzhost
