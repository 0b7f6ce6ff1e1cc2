// Copies what one action says of channels to another.
#include "host/document/action_copy.h"

#include "kz/channel.h"
#include "kz/item.h"
#include "kz/result.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

using Keys = std::vector<EnvelopeKey>;

Keys keysOf(const EnvelopeData* curve) {
    Keys keys;
    for (std::size_t i = 0; curve != nullptr && i < curve->keys().size(); ++i) keys.push_back(curve->keys()[i]);
    return keys;
}

// The item of the other side: "Left Hand" and "Right Hand" belong together, and so do "hand_L" and "hand_R". An item without
// such a word in its name, or without its fellow, stays itself.
Item& otherSide(const CDocument& document, Item& item) {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 6> sides{
        {{"Left", "Right"}, {"Right", "Left"}, {"left", "right"}, {"right", "left"}, {"_L", "_R"}, {"_R", "_L"}}};
    for (const auto& [own, other] : sides) {
        const std::size_t at = item.uniqueName.find(own);
        if (at == std::string::npos) continue;
        std::string name = item.uniqueName;
        Item* fellow = document.byName(name.replace(at, own.size(), other));
        return fellow != nullptr && &fellow->type == &item.type ? *fellow : item;
    }
    return item;
}

// The axis across which the sides lie: that of the clip's actor, X without one.
char symmetryAxis(const CDocument& document, const std::string& action) {
    const Item* clip = kzIsSceneAction(action) ? nullptr : document.byIdent(action);
    const Item* actor = clip != nullptr ? clip->parent : nullptr;
    const ChannelInfo* axis = actor != nullptr ? actor->type.channel(KZsICHAN_ACTOR_SYMMETRY) : nullptr;
    const int number = axis != nullptr ? static_cast<int>(kzNumberOf(actor->valueOf(*axis)).value_or(0)) : 0;
    return "XXYZ"[std::clamp(number, 0, 3)];
}

// A mirror turns positions along its axis round, and rotations about the two others.
bool isMirrored(const ChannelInfo& channel, char axis) {
    const std::string_view name = channel.name;
    if (name.size() != 5) return false;
    return (name.starts_with("pos.") && name.back() == axis) || (name.starts_with("rot.") && name.back() != axis);
}

template <class Change> void changeSides(Keys& keys, const Change& change) {
    for (EnvelopeKey& key : keys)
        for (EnvelopeSide* side : {&key.in, &key.out}) change(*side);
}

struct Copy {
    Item* item;
    const ChannelInfo* channel;
    ActionValue value;
    Keys keys;
};

// Where keys of the target stay, they count more than those that come.
Keys merged(Keys present, const Keys& coming) {
    for (const EnvelopeKey& key : coming)
        if (std::ranges::find(present, key.time, &EnvelopeKey::time) == present.end()) present.push_back(key);
    std::ranges::sort(present, {}, &EnvelopeKey::time);
    return present;
}

std::vector<Copy> collect(const CDocument& document, const std::string& from, std::uint32_t flags) {
    const bool isMirror = (flags & KZfACTIONCOPY_MIRROR) != 0;
    const char axis = symmetryAxis(document, from);
    std::vector<Copy> copies;
    for (const auto& [item, channel] : kzActionChannels(document, from)) {
        Copy copy{item.get(), channel, {{}, item->valueOf(*channel), nullptr}, {}};
        if (const ActionValue* value = kzActionValue(*item, *channel, from)) copy.value = *value;
        copy.keys = keysOf(copy.value.curve.get());
        if ((flags & (copy.keys.empty() ? KZfACTIONCOPY_CONSTANTS : KZfACTIONCOPY_KEYS)) == 0) continue;
        if (copy.keys.empty() && !copy.value.value) continue;
        if (isMirror) {
            copy.item = &otherSide(document, *item);
            if (isMirrored(*channel, axis)) {
                changeSides(copy.keys, [](EnvelopeSide& side) {
                    side.value = -side.value;
                    side.slope = -side.slope;
                });
                if (const auto number = copy.value.value ? kzNumberOf(*copy.value.value) : std::nullopt)
                    copy.value.value = kzFit(*channel, -*number);
            }
        }
        copies.push_back(std::move(copy));
    }
    return copies;
}

}  // namespace

void kzCopyAction(CDocument& document, const std::string& from, const std::string& to, double time, std::uint32_t flags,
                  CEdit& edit) {
    std::vector<Copy> copies = collect(document, from, flags);
    if (copies.empty()) throw KZe_NOTAVAILABLE;
    double first = std::numeric_limits<double>::infinity();
    for (const Copy& copy : copies)
        if (!copy.keys.empty()) first = std::min(first, copy.keys.front().time);
    // The values to go on from are those before anything is copied.
    if ((flags & KZfACTIONCOPY_OFFSET) != 0)
        for (Copy& copy : copies)
            if (!copy.keys.empty()) {
                const auto present = kzNumberOf(kzStoredCell(*copy.item, *copy.channel, time, to));
                const double offset = present.value_or(0) - copy.keys.front().in.value;
                changeSides(copy.keys, [&](EnvelopeSide& side) { side.value += offset; });
            }
    for (Copy& copy : copies) {
        if (copy.keys.empty()) {
            kzSetAction(*copy.item, *copy.channel, {to, copy.value.value, nullptr}, edit);
            continue;
        }
        if (!kzTakesKeys(document, to)) throw KZe_NOACCESS;
        for (EnvelopeKey& key : copy.keys) {
            key.id = 0;  // a cursor at the original must not come to stand at the copy
            key.time += time - first;
        }
        const auto before = kzCurveOf(*copy.item, *copy.channel, to);
        const bool isMerge = (flags & KZfACTIONCOPY_MERGE) != 0 && before != nullptr;
        auto curve = std::make_shared<EnvelopeData>(isMerge ? *before : *copy.value.curve);
        curve->setKeys(isMerge ? merged(keysOf(before.get()), copy.keys) : std::move(copy.keys));
        kzSetCurve(*copy.item, *copy.channel, to, std::move(curve), {}, edit);
    }
}

}  // namespace kzhost
