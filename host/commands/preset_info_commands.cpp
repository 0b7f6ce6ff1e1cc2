// Commands for what is known of a preset, by its type and its metrics, and for what a double click on it does.
#include "host/commands/builtin_command.h"
#include "host/commands/preset_commands.h"
#include "host/objects/image_files.h"
#include "host/objects/named_values.h"
#include "host/objects/presets.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/base/object_output.h"
#include "kz/command.h"
#include "kz/preset.h"
#include "kz/preset_browser.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <iterator>
#include <string>

namespace kzhost {

namespace {

constexpr std::uint32_t told = KZfCMDARG_READONLY | kzOptional | kzQueryable;
constexpr std::uint32_t mostInfoLines = 100;  // an endless row of lines must not keep the host busy

// What the metrics of a preset are asked for.
struct Asked {
    CKzUser_PresetType type;
    std::string path;
    CKzUser_PresetMetrics metrics;
};

// An answer that the type or the metrics do not have is no answer, and any other failure is one.
bool hasAnswer(KzResult code) {
    if (code == KZe_NOTIMPL || code == KZe_NOTFOUND) return false;
    if (kzFailed(code)) throw code;
    return true;
}

bool takeMetrics(Asked& preset, std::uint32_t flags) {
    CKzLoc_Unknown object;
    if (!hasAnswer(kzTakeOutput(
            object, [&](IKzUnknown** output) { return preset.type.Metrics(preset.path.c_str(), flags, output); })))
        return false;
    if (preset.metrics.set(object.raw())) return true;
    kzRefuse(KZe_FAILED, "the type of the preset gives an object without the interface PresetMetrics");
}

Texts iconOfPreset(Asked& preset) {
    const char* icon = nullptr;
    return hasAnswer(preset.type.GenericThumbnailResource(preset.path.c_str(), &icon)) ? Texts{kzString(icon)}
                                                                                       : Texts{};
}

Texts aspectOfPreset(Asked& preset) {
    double aspect = 0;
    if (!hasAnswer(preset.type.BaseAspect(&aspect))) return {};
    if (std::isfinite(aspect) && aspect > 0) return {fmt::format("{}", aspect)};
    kzRefuse(KZe_FAILED, fmt::format("the type of the preset gives the aspect {}, which is not above 0", aspect));
}

Texts destinationOfPreset(Asked& preset) {
    const char* kind = nullptr;
    return hasAnswer(preset.type.DestinationKind(preset.path.c_str(), &kind)) ? Texts{kzString(kind)} : Texts{};
}

Texts sizeOfPreset(Asked& preset) {
    std::int32_t width = 0, height = 0;
    if (!takeMetrics(preset, KZf_PRESETMETRIC_IMAGE) || !hasAnswer(preset.metrics.ThumbnailIdealSize(&width, &height)))
        return {};
    if (width > 0 && height > 0) return {fmt::format("{}x{}", width, height)};
    kzRefuse(KZe_FAILED,
             fmt::format("the preset's thumbnail is to have {} by {} pixels, and needs one at least", width, height));
}

Texts metadataOfPreset(Asked& preset) {
    const auto values = CHostRef<CNamedValues>::make(kzMetricRows);
    const bool isKnown =
        takeMetrics(preset, KZf_PRESETMETRIC_METADATA) && hasAnswer(preset.metrics.Metadata(values.raw()));
    return isKnown ? values->texts() : Texts{};
}

Texts markupOfPreset(Asked& preset) {
    const auto values = CHostRef<CNamedValues>::make(kzMarkRows);
    const bool isKnown = takeMetrics(preset, KZf_PRESETMETRIC_MARKUP) && hasAnswer(preset.metrics.Markup(values.raw()));
    return isKnown ? values->texts() : Texts{};
}

Texts linesOfPreset(Asked& preset) {
    Texts lines;
    if (!takeMetrics(preset, KZf_PRESETMETRIC_INFO)) return lines;
    while (lines.size() < mostInfoLines) {
        const char* line = nullptr;
        if (!hasAnswer(preset.metrics.InfoLine(static_cast<std::uint32_t>(lines.size()), &line))) break;
        lines.push_back(kzString(line));
    }
    return lines;
}

std::uint32_t presetFlags(Asked& preset) { return takeMetrics(preset, 0) ? preset.metrics.Flags() : 0; }

Texts flagsOfPreset(Asked& preset) {
    constexpr struct {
        std::uint32_t flag;
        const char* word;
    } words[] = {{KZfPRESET_THUMBNAIL, "thumbnail"}, {KZfPRESET_READONLY, "readOnly"},
                 {KZfPRESET_FOLDER, "folder"},       {KZfPRESET_NODO, "noDo"},
                 {KZfPRESET_NODROP, "noDrop"},       {KZfPRESET_REFERENCED, "referenced"}};
    Texts texts;
    const std::uint32_t flags = presetFlags(preset);
    for (const auto& each : words)
        if ((flags & each.flag) != 0) texts.emplace_back(each.word);
    return texts;
}

constexpr struct {
    ArgumentRow argument;
    Texts (*tell)(Asked& preset);
} infoRows[] = {
    {{"name", KZsTYPE_STRING, 0, "the preset's name among the user's own, or the path of its file"}, nullptr},
    {{KZsARG_PRESET_THUMB, KZsTYPE_FILEPATH, kzOptional, "the file into which its picture is written"}, nullptr},
    {{"icon", KZsTYPE_STRING, told, "queried, what stands for its picture"}, iconOfPreset},
    {{"aspect", KZsTYPE_FLOAT, told, "queried, the width of its type's pictures divided by their height"},
     aspectOfPreset},
    {{"size", KZsTYPE_STRING, told, "queried, the size that its picture is to have, as 96x96"}, sizeOfPreset},
    {{KZsARG_PRESET_DEST, KZsTYPE_STRING, told, "queried, the kind of place to which it is applied"},
     destinationOfPreset},
    {{"metadata", KZsTYPE_STRING, told, "queried, what its file says about itself, as author=Ann"}, metadataOfPreset},
    {{"markup", KZsTYPE_STRING, told, "queried, what the user has added, as stars=3"}, markupOfPreset},
    {{"line", KZsTYPE_STRING, told, "queried, the lines below its picture"}, linesOfPreset},
    {{"flags", KZsTYPE_STRING, told, "queried, what it is: thumbnail, readOnly, folder, noDo, noDrop, referenced"},
     flagsOfPreset},
};
constexpr auto infoArguments = [] {
    std::array<ArgumentRow, std::size(infoRows)> all{};
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = infoRows[i].argument;
    return all;
}();
constexpr ArgumentRow doArguments[] = {infoArguments.front()};

void takePreset(const PresetParts& parts, CBuiltinCommand& command, Asked& preset) {
    preset.path = kzPresetPath(command);
    RecognizedPreset known;
    parts.presets->require(preset.path, known);
    preset.type.copy(known.type);
}

Texts queryInfo(const PresetParts& parts, CBuiltinCommand& command, std::uint32_t index) {
    Asked preset;
    takePreset(parts, command, preset);
    return infoRows[index].tell(preset);
}

void writeThumbnail(const PresetParts& parts, CBuiltinCommand& command) {
    const std::string target = command.text(KZsARG_PRESET_THUMB);
    if (target.empty()) kzRefuse(KZe_CMD_MISSING_ARGS, "argument \"thumbnail\" is missing; the rest can be queried");
    Asked preset;
    takePreset(parts, command, preset);
    CKzLoc_Unknown image;
    const auto take = [&](IKzUnknown** output) { return preset.metrics.ThumbnailImage(output); };
    if (!takeMetrics(preset, KZf_PRESETMETRIC_IMAGE) || !hasAnswer(kzTakeOutput(image, take)))
        kzRefuse(KZe_NOTFOUND, "the preset has no picture");
    const KzResult code = parts.images->save(image.raw(), parts.files->place(target.c_str()), {}, nullptr);
    if (kzFailed(code)) throw code;
}

void doPreset(const PresetParts& parts, CBuiltinCommand& command) {
    Asked preset;
    takePreset(parts, command, preset);
    if ((presetFlags(preset) & KZfPRESET_NODO) != 0)
        kzRefuse(KZe_NOTSUPPORTED,
                 "argument \"name\": this preset is only applied to something, and does nothing by itself");
    const KzResult code = preset.type.Do(preset.path.c_str());
    if (code == KZe_NOTIMPL)
        kzRefuse(KZe_NOTSUPPORTED, "argument \"name\": presets of this type do nothing by themselves");
    if (kzFailed(code)) throw code;
}

}  // namespace

void kzAddPresetInfoCommands(CCommandRegistry& registry, const PresetParts& parts) {
    kzAddCommands(
        registry,
        {
            {"preset.info", "Preset", "what is known of a preset; executed, writes its picture into a file", KZfCMD_UI,
             infoArguments, [parts](CBuiltinCommand& command) { writeThumbnail(parts, command); },
             [parts](CBuiltinCommand& command, std::uint32_t index) { return queryInfo(parts, command, index); }},
            {"preset.do", "Use Preset", "does what a double click on the preset does", KZfCMD_UNDO | KZfCMD_MODEL,
             doArguments, [parts](CBuiltinCommand& command) { doPreset(parts, command); }},
        });
}

}  // namespace kzhost
