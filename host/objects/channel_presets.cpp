// The host's own type of presets: the values of an item's channels, as texts.
//
// A file has the form of the preferences. Its records are the preset's type, the item's type, and a value for each channel.
#include "host/objects/presets.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/state/preference_file.h"
#include "host/state/text.h"

#include "kz/channel.h"
#include "kz/item.h"
#include "kz/result.h"
#include "kz/scene.h"

#include <fmt/format.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

constexpr const char* presetKind = "preset";
constexpr const char* channelKind = "channel";

// The item behind a destination with a reader and a writer of its channels.
struct Access {
    explicit Access(IKzUnknown* object) : item(object) {
        if (object == nullptr) throw KZe_INVALIDARG;
        CKzLoc_Unknown owner, reader, writer;
        const char* name = nullptr;
        if (!item || kzFailed(item.Scene(owner.out())) || kzFailed(item.TypeName(&name)))
            throw kzBecause(KZe_NOTSUPPORTED, "Presets", [] { return "values of channels apply to items in a scene"; });
        type = kzString(name);
        const CKzUser_Scene scene(owner.raw());
        if (const KzResult code = scene.Channels(nullptr, 0, reader.out()); kzFailed(code)) throw code;
        if (const KzResult code = scene.WriteChannels(nullptr, 0, writer.out()); kzFailed(code)) throw code;
        read.set(reader.raw());
        write.set(writer.raw());
    }

    CKzUser_Item item;
    std::string type;
    CKzUser_ChannelRead read;
    CKzUser_ChannelWrite write;
};

// Nothing for a channel without a stored value, such as a matrix.
std::optional<std::string> textOf(const Access& access, std::int32_t channel) {
    CKzLoc_Unknown object;
    const char* text = nullptr;
    if (kzFailed(access.item.ChannelByIndex(channel, object.out()))) return {};
    const std::uint32_t storage = CKzUser_ItemChannel(object.raw()).StorageType();
    if (storage == KZiCHANTYPE_NONE || storage == KZiCHANTYPE_MATRIX || storage == KZiCHANTYPE_OBJECT) return {};
    if (kzFailed(access.read.String(access.item.raw(), channel, &text))) return {};
    return kzString(text);
}

bool isOurs(const PreferenceRecords& all) {
    const auto type = all.records.find({presetKind, "type"});
    return type != all.records.end() && type->second == PreferenceFields{KZsPRESETTYPE_CHANNELS};
}

PreferenceRecords readPreset(const char* path) {
    PreferenceRecords all;
    std::string why;
    if (!kzReadPreferences(kzString(path), all, why)) throw kzBecause(KZe_FAILED, "Presets", [&] { return why; });
    if (!isOurs(all))
        throw kzBecause(KZe_NOTFOUND, "Presets", [&] { return kzString(path) + " has no values of channels"; });
    return all;
}

std::string itemTypeOf(const PreferenceRecords& all) {
    const auto type = all.records.find({presetKind, "item"});
    return type != all.records.end() && !type->second.empty() ? type->second.front() : std::string();
}

class CChannelPresets final : public CHosted<"channel presets", CChannelPresets, CKzIfc_PresetType> {
public:
    KzResult ptyp_Recognize(const char* path, const char** category) override {
        PreferenceRecords all;
        std::string why;
        if (!kzReadPreferences(kzString(path), all, why) || !isOurs(all)) return KZe_NOTFOUND;
        *category = "channels";
        return KZe_OK;
    }
    KzResult ptyp_Apply(const char* path, IKzUnknown* destination) override;
    KzResult ptyp_DestinationKind(const char* /*path*/, const char** kind) override {
        *kind = "item";
        return KZe_OK;
    }
    KzResult ptyp_Save(const char* path, IKzUnknown* source) override;
    bool ptyp_CanApplyTo(const char* path, IKzUnknown* destination) override {
        const Access access(destination);
        return itemTypeOf(readPreset(path)) == access.type;
    }
};

// A value that is refused leaves the item as it was.
KzResult CChannelPresets::ptyp_Apply(const char* path, IKzUnknown* destination) {
    const Access access(destination);
    const PreferenceRecords all = readPreset(path);
    if (itemTypeOf(all) != access.type)
        throw kzBecause(KZe_NOTSUPPORTED, "Presets", [&] {
            return "the preset is for items of the type " + itemTypeOf(all) + ", not " + access.type;
        });
    std::vector<std::pair<std::int32_t, std::string>> former;
    for (const auto& [key, fields] : all.records) {
        std::int32_t channel = 0;
        if (key.first != channelKind || fields.empty() ||
            kzFailed(access.item.ChannelLookup(key.second.c_str(), &channel)))
            continue;  // a channel that a user had added is not there in every item
        const auto present = textOf(access, channel);
        if (!present || *present == fields.front()) continue;
        former.emplace_back(channel, *present);
        const KzResult code = access.write.String(destination, channel, fields.front().c_str());
        if (kzSucceeded(code)) continue;
        for (const auto& [changed, text] : former) access.write.String(destination, changed, text.c_str());
        throw kzBecause(code, "Presets", [&name = key.second, &text = fields.front()] {
            return fmt::format("the channel {} does not take the value \"{}\"", name, text);
        });
    }
    return former.empty() ? KZePRESET_ALREADY_APPLIED : KZe_OK;
}

KzResult CChannelPresets::ptyp_Save(const char* path, IKzUnknown* source) {
    const Access access(source);
    PreferenceRecords all;
    all.records[{presetKind, "type"}] = {KZsPRESETTYPE_CHANNELS};
    all.records[{presetKind, "item"}] = {access.type};
    const auto count = static_cast<std::int32_t>(access.item.ChannelCount());
    for (std::int32_t channel = 0; channel < count; ++channel) {
        const char* name = nullptr;
        if (kzFailed(access.item.ChannelName(channel, &name))) continue;
        std::string channelName = kzString(name);
        if (auto text = textOf(access, channel))
            all.records[{channelKind, std::move(channelName)}] = {std::move(*text)};
    }
    std::string why;
    if (kzWritePreferences(kzString(path), all, why)) return KZe_OK;
    return kzBecause(KZe_NOACCESS, "Presets", [&] { return why; });
}

}  // namespace

IKzUnknown* kzMakeChannelPresets() { return kzMakeObject<CChannelPresets>(); }

}  // namespace kzhost
