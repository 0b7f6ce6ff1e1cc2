// What is stored for channels over time.
#include "host/document/animation.h"

#include "host/document/transform_values.h"
#include "host/state/value_types.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <utility>

namespace kzhost {

namespace {

using Kind = DocumentEvent::Kind;

bool isWhole(const ChannelInfo& channel) {
    return channel.type != nullptr && std::holds_alternative<std::int32_t>(channel.initial);
}

const ItemType& clipType() {
    static const ItemType& type = *kzFindItemType(KZsITYPE_ACTIONCLIP);
    return type;
}
const ItemType& poseType() {
    static const ItemType& type = *kzFindItemType(KZsITYPE_ACTIONPOSE);
    return type;
}

std::optional<KzCell> cellAt(const ActionValue& action, const ChannelInfo& channel, double time) {
    if (action.curve == nullptr || action.curve->keys().empty()) return action.value;
    const auto number = action.curve->value(time);
    return number ? kzFit(channel, *number) : std::nullopt;
}

std::optional<KzCell> cellOf(const Item& item, const ChannelInfo& channel, std::string_view action, double time) {
    const ActionValue* value = kzActionValue(item, channel, action);
    return value != nullptr ? cellAt(*value, channel, time) : std::nullopt;
}

// What the actions of every scene say together.
KzCell layeredCell(const Item& item, const ChannelInfo& channel, double time, std::uint32_t& source) {
    const auto take = [&](std::uint32_t from, std::optional<KzCell> cell) {
        if (cell) source = from;
        return cell;
    };
    if (time != KZiCHANTIME_SETUP)
        if (const auto cell = take(KZiCHANSOURCE_ACTION, cellOf(item, channel, KZs_ACTIONLAYER_ANIM, time)))
            return *cell;
    if (const auto cell = take(KZiCHANSOURCE_SETUP, cellOf(item, channel, KZs_ACTIONLAYER_SETUP, time))) return *cell;
    const ChannelState* state = item.stateOf(channel);
    const bool isSet = state != nullptr && state->value;
    source = isSet ? KZiCHANSOURCE_SCENE : KZiCHANSOURCE_DEFAULT;
    return isSet ? *state->value : channel.initial;
}

// A channel of a clip's item, which other clips have no part in.
double settingOf(const Item& clip, const char* name, double time) {
    const ChannelInfo* channel = clip.type.channel(name);
    std::uint32_t source = 0;
    return channel != nullptr ? kzNumberOf(layeredCell(clip, *channel, time, source)).value_or(0) : 0;
}

struct ActiveClip {
    const Item* item;
    const ActionValue* value;
};

std::vector<ActiveClip> activeClips(const Item& item, const ChannelState& state, double time) {
    std::vector<ActiveClip> clips;
    for (const ActionValue& each : state.actions) {
        if (kzIsSceneAction(each.action)) continue;
        const Item* clip = item.document.byIdent(each.action);
        if (clip == nullptr || &clip->type != &clipType()) continue;
        if (settingOf(*clip, KZsICHAN_ACTIONCLIP_ACTIVE, time) != 0) clips.push_back({clip, &each});
    }
    std::ranges::sort(clips, {}, [](const ActiveClip& clip) { return clip.item->serial; });
    return clips;
}

double blended(double below, double value, double weight, std::int32_t mode) {
    switch (mode) {
    case KZiACTIONBLEND_ADD: return below + value * weight;
    case KZiACTIONBLEND_MULTIPLY: return below * (1 + (value - 1) * weight);
    default: return below + (value - below) * weight;
    }
}

// Where a clip is at a moment of the scene: the time of its own, and how much of its weight it has.
struct ClipPlace {
    double time = 0, strength = 0;
};

// From its start on, a clip plays the part of its keys from its start to its end, as often as it loops, with its speed;
// backwards from the end if that is negative. Before and after that it has no part.
ClipPlace placeIn(const Item& clip, double time) {
    const auto setting = [&](const char* name) { return settingOf(clip, name, time); };
    const double start = setting(KZsICHAN_ACTIONCLIP_START), end = setting(KZsICHAN_ACTIONCLIP_END);
    const double speed = setting(KZsICHAN_ACTIONCLIP_SPEED), loops = setting(KZsICHAN_ACTIONCLIP_LOOPS);
    const double length = end - start, passed = time - start;
    if (!(length > 0) || !(passed >= 0)) return {};
    const double run = passed * std::abs(speed), whole = loops > 0 ? loops * length : HUGE_VAL;
    if (run > whole) return {};
    const double phase = run == whole ? length : std::fmod(run, length);
    ClipPlace place{speed < 0 ? end - phase : start + phase, 1};
    const auto fade = [&](double reach, double seconds) {
        if (seconds > 0) place.strength = std::min(place.strength, reach / seconds);
    };
    fade(passed, setting(KZsICHAN_ACTIONCLIP_FADEIN));
    if (speed != 0) fade((whole - run) / std::abs(speed), setting(KZsICHAN_ACTIONCLIP_FADEOUT));
    return place;
}

// A value that is no number is taken from the last clip that has any weight.
void mixIn(const ActiveClip& clip, const ChannelInfo& channel, double time, KzCell& cell, std::uint32_t& source) {
    const ClipPlace place = placeIn(*clip.item, time);
    const double weight = place.strength * settingOf(*clip.item, KZsICHAN_ACTIONCLIP_WEIGHT, time);
    const auto own = cellAt(*clip.value, channel, place.time);
    if (!own || weight == 0) return;
    const auto mode = static_cast<std::int32_t>(settingOf(*clip.item, KZsICHAN_ACTIONCLIP_BLEND, time));
    const auto below = kzNumberOf(cell), value = kzNumberOf(*own);
    if (below && value) cell = kzFit(channel, blended(*below, *value, weight, mode)).value_or(cell);
    else cell = *own;
    source = KZiCHANSOURCE_ACTION;
}

}  // namespace

bool kzIsSceneAction(std::string_view action) {
    return std::ranges::find(kzSceneActions, action) != kzSceneActions.end();
}

std::vector<Item*> kzActionItems(const CDocument& document) {
    std::vector<Item*> items;
    for (const ItemType* type : {&clipType(), &poseType()})
        document.each(type->number, [&](Item& item) { items.push_back(&item); });
    std::ranges::sort(items, {}, &Item::serial);
    return items;
}

std::optional<std::string> kzFindAction(const CDocument& document, std::string_view name) {
    if (kzIsSceneAction(name)) return std::string(name);
    for (const Item* item : kzActionItems(document))
        if (item->name == name) return item->ident;
    return {};
}

std::int32_t kzActionType(const CDocument& document, std::string_view action) {
    if (action == KZs_ACTIONLAYER_SETUP) return KZiACTIONCLIP_TYPE_SETUP;
    if (action == KZs_ACTIONLAYER_ANIM) return KZiACTIONCLIP_TYPE_ANIM;
    const Item* item = kzIsSceneAction(action) ? nullptr : document.byIdent(action);
    return item != nullptr && &item->type == &clipType() ? KZiACTIONCLIP_TYPE_ANIM : KZiACTIONCLIP_TYPE_POSE;
}

bool kzTakesKeys(const CDocument& document, std::string_view action) {
    return kzActionType(document, action) != KZiACTIONCLIP_TYPE_POSE;
}

const ActionValue* kzActionValue(const Item& item, const ChannelInfo& channel, std::string_view action) {
    const ChannelState* state = item.stateOf(channel);
    if (state == nullptr) return nullptr;
    const auto value = std::ranges::find(state->actions, action, &ActionValue::action);
    return value != state->actions.end() ? &*value : nullptr;
}

bool kzSays(const Item& item, const ChannelInfo& channel, std::string_view action) {
    if (action != KZs_ACTIONLAYER_STATIC) return kzActionValue(item, channel, action) != nullptr;
    const auto state = item.values.find(&channel);
    return state != item.values.end() && state->second.value;
}

ActionChannels kzActionChannels(const CDocument& document, std::string_view action) {
    ActionChannels channels;
    document.each(KZiITYPE_ANY, [&](Item& item) {
        if (item.values.empty()) return;
        const auto first = static_cast<std::ptrdiff_t>(channels.size());
        for (const auto& [channel, state] : item.values)
            if (kzSays(item, *channel, action)) channels.emplace_back(item.shared_from_this(), channel);
        std::sort(channels.begin() + first, channels.end(),
                  [&](const auto& a, const auto& b) { return item.indexOf(*a.second) < item.indexOf(*b.second); });
    });
    return channels;
}

std::shared_ptr<const EnvelopeData> kzCurveOf(const Item& item, const ChannelInfo& channel, std::string_view action) {
    const ActionValue* value = kzActionValue(item, channel, action);
    return value != nullptr ? value->curve : nullptr;
}

const ActionValue* kzKeyedAction(const Item& item, const ChannelInfo& channel) {
    for (const char* action : {KZs_ACTIONLAYER_ANIM, KZs_ACTIONLAYER_SETUP})
        if (const ActionValue* value = kzActionValue(item, channel, action);
            value != nullptr && value->curve && !value->curve->keys().empty())
            return value;
    return nullptr;
}

std::string kzCurrentAction(const Item& item, const ChannelInfo& channel, double time) {
    if (time == KZiCHANTIME_SETUP) return KZs_ACTIONLAYER_SETUP;
    return kzKeyedAction(item, channel) != nullptr ? KZs_ACTIONLAYER_EDIT : KZs_ACTIONLAYER_STATIC;
}

std::string kzKeyAction(const ChannelInfo& channel, std::string_view action) {
    if (!action.empty()) return std::string(action);
    return (channel.flags & KZfCHAN_SETUP) != 0 ? KZs_ACTIONLAYER_SETUP : KZs_ACTIONLAYER_ANIM;
}

std::optional<KzCell> kzFit(const ChannelInfo& channel, double number) {
    if (channel.minimum) number = std::max(number, *channel.minimum);
    if (channel.maximum) number = std::min(number, *channel.maximum);
    if (channel.type == nullptr || !std::isfinite(number)) return {};
    if (isWhole(channel)) {
        using Limits = std::numeric_limits<std::int32_t>;
        number = std::clamp<double>(std::round(number), Limits::min(), Limits::max());
    }
    return kzCellOf(*channel.type, number);
}

KzCell kzStoredCell(const Item& item, const ChannelInfo& channel, double time, std::uint32_t* source) {
    std::uint32_t from = KZiCHANSOURCE_DEFAULT;
    const ChannelState* state = item.stateOf(channel);
    KzCell cell = channel.initial;
    if (state != nullptr) {
        const auto edit = time != KZiCHANTIME_SETUP ? cellOf(item, channel, KZs_ACTIONLAYER_EDIT, time) : std::nullopt;
        if (edit) from = KZiCHANSOURCE_EDIT;
        cell = edit ? *edit : layeredCell(item, channel, time, from);
        if (!edit && time != KZiCHANTIME_SETUP)
            for (const ActiveClip& clip : activeClips(item, *state, time)) mixIn(clip, channel, time, cell, from);
    }
    if (source != nullptr) *source = from;
    return cell;
}

KzCell kzStoredCell(const Item& item, const ChannelInfo& channel, double time, std::string_view action) {
    if (action.empty()) return kzStoredCell(item, channel, time);
    const auto cell = action != KZs_ACTIONLAYER_STATIC ? cellOf(item, channel, action, time) : std::nullopt;
    return cell ? *cell : item.valueOf(channel);
}

namespace {

// Says how keys have changed, and after undoing the reverse.
struct KeyNote {
    ItemRef item;
    std::string channel;
    KeyChange change;

    void operator()(Direction direction, DocumentEvents& events) const {
        KeyChange told = change;
        if (direction == Direction::reverse) {
            if (change.kind == Kind::keyAdded) told.kind = Kind::keyRemoved;
            if (change.kind == Kind::keyRemoved) told.kind = Kind::keyAdded;
            if (change.kind == Kind::keyMoved) std::swap(told.time, told.oldTime);
        }
        events.push_back({.kind = told.kind,
                          .document = &item->document,
                          .item = item,
                          .text = channel,
                          .time = told.time,
                          .oldTime = told.oldTime});
    }
};

}  // namespace

void kzSetAction(Item& item, const ChannelInfo& channel, ActionValue value, CEdit& edit) {
    ChannelState state;
    if (const auto entry = item.values.find(&channel); entry != item.values.end()) state = entry->second;
    if (value.action == KZs_ACTIONLAYER_STATIC && value.curve == nullptr && channel.kind != ChannelKind::gradient) {
        state.value = std::move(value.value);
    } else {
        const auto place = std::ranges::find(state.actions, value.action, &ActionValue::action);
        const bool says = value.value || value.curve;
        if (place == state.actions.end() && says) state.actions.push_back(std::move(value));
        else if (place != state.actions.end() && says) *place = std::move(value);
        else if (place != state.actions.end()) state.actions.erase(place);
    }
    edit.setChannel(item, channel, std::move(state));
}

void kzSetCurve(Item& item, const ChannelInfo& channel, std::string_view action,
                std::shared_ptr<const EnvelopeData> curve, KeyChange change, CEdit& edit) {
    if (curve != nullptr && kzActionValue(item, channel, KZs_ACTIONLAYER_EDIT) != nullptr)
        kzSetAction(item, channel, {KZs_ACTIONLAYER_EDIT, {}, nullptr}, edit);
    kzSetAction(item, channel, {std::string(action), {}, std::move(curve)}, edit);
    edit.make(&item.document, KeyNote{item.shared_from_this(), channel.name, change});
}

EnvelopeData kzNewCurve(const ChannelInfo& channel) { return EnvelopeData(isWhole(channel)); }

KzCell kzCellOfMatrix(const KzMatrix4& matrix) {
    std::string text;
    for (const auto& row : matrix.m)
        for (const double number : row) text += fmt::format("{}{}", text.empty() ? "" : " ", number);
    return text;
}

std::optional<KzMatrix4> kzMatrixOfCell(const KzCell& cell) {
    const auto* text = std::get_if<std::string>(&cell);
    if (text == nullptr) return {};
    std::istringstream words(*text);
    words.imbue(std::locale::classic());
    KzMatrix4 matrix;
    for (auto& row : matrix.m)
        for (double& number : row)
            if (!(words >> number)) return {};
    return matrix;
}

}  // namespace kzhost
