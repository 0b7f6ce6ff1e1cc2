// The commands for keys: what channels of items of the current scene have at moments of an action.
#include "host/commands/document_commands.h"
#include "host/commands/document_targets.h"
#include "host/core/reasons.h"
#include "host/document/animation.h"
#include "host/objects/channel_access.h"
#include "host/objects/envelope.h"
#include "host/state/text.h"

#include "kz/action.h"
#include "kz/command.h"
#include "kz/envelope.h"
#include "kz/result.h"
#include "kz/scene.h"
#include "kz/value.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace kzhost {

namespace {

constexpr KzTextValueHint slopes[] = {{KZiSLOPE_DIRECT, "direct"},     {KZiSLOPE_AUTO, "auto"},
                                      {KZiSLOPE_LINEARIN, "linearIn"}, {KZiSLOPE_LINEAROUT, "linearOut"},
                                      {KZiSLOPE_FLAT, "flat"},         {KZiSLOPE_AUTOFLAT, "autoFlat"},
                                      {KZiSLOPE_STEPPED, "stepped"},   {0, nullptr}};
constexpr KzTextValueHint behaviors[] = {{KZiENV_RESET, "reset"},   {KZiENV_CONSTANT, "constant"},
                                         {KZiENV_REPEAT, "repeat"}, {KZiENV_OSCILLATE, "oscillate"},
                                         {KZiENV_OFFSET, "offset"}, {KZiENV_LINEAR, "linear"},
                                         {KZiENV_NONE, "none"},     {0, nullptr}};
constexpr KzTextValueHint interpolations[] = {
    {KZiENVINTERP_CURVE, "curve"}, {KZiENVINTERP_LINEAR, "linear"}, {KZiENVINTERP_STEPPED, "stepped"}, {0, nullptr}};
constexpr KzTextValueHint sides[] = {
    {KZiENVSIDE_IN, "in"}, {KZiENVSIDE_OUT, "out"}, {KZiENVSIDE_BOTH, "both"}, {0, nullptr}};

constexpr ArgumentRow actionArgument = {
    "action", KZsTYPE_STRING, kzOptional | kzQueryable,
    "the action; the one that has the channel's keys, or takes them, when it is left out; queried, all of the scene"};
constexpr ArgumentRow timeArgument = {"time", KZsTYPE_TIME, 0, "the time of the key, in seconds"};
constexpr ArgumentRow sideArgument = {"side", KZsTYPE_CHOICE, kzOptional, "both sides when it is left out", sides};

constexpr ArgumentRow setArguments[] = {
    kzItemRow,
    kzChannelRow,
    {"value", KZsTYPE_STRING, kzOptional | kzQueryable,
     "the key's value; without one, the channel keeps the present one"},
    {"time", KZsTYPE_TIME, kzOptional, "in seconds; the scene's current time when it is left out"},
    actionArgument};
constexpr ArgumentRow deleteKeyArguments[] = {
    kzItemRow,
    kzChannelRow,
    {"time", KZsTYPE_TIME, kzOptional,
     "the time of the key, in seconds; all keys go when it is left out, and the channel keeps the present value"},
    {"end", KZsTYPE_TIME, kzOptional, "all keys from `time` up to this one go, in seconds"},
    actionArgument};
constexpr ArgumentRow moveArguments[] = {
    kzItemRow, kzChannelRow, timeArgument, {"to", KZsTYPE_TIME, 0, "its new time, in seconds"}, actionArgument};
constexpr ArgumentRow listArguments[] = {
    kzItemRow,
    kzChannelRow,
    actionArgument,
    {"time", KZsTYPE_TIME, kzOptional | kzQueryable, "queried, the times of the channel's keys, in seconds"},
    {"value", KZsTYPE_FLOAT, kzOptional | kzQueryable, "queried, the values of the channel's keys"}};
constexpr ArgumentRow slopeArguments[] = {
    kzItemRow,
    kzChannelRow,
    timeArgument,
    {"type", KZsTYPE_CHOICE, kzOptional | kzQueryable, "how the slope is obtained; direct when a slope is given",
     slopes},
    {"slope", KZsTYPE_FLOAT, kzOptional | kzQueryable, "the change of the value in each second"},
    {"weight", KZsTYPE_FLOAT, kzOptional | kzQueryable, "how far the slope reaches, 0 to 3; 1 as a rule"},
    sideArgument,
    actionArgument};
constexpr ArgumentRow interpolationArguments[] = {
    kzItemRow,
    kzChannelRow,
    {"mode", KZsTYPE_CHOICE, 0, "the shape between all keys of the channel", interpolations},
    actionArgument};
constexpr ArgumentRow behaviorArguments[] = {
    kzItemRow,
    kzChannelRow,
    {"behavior", KZsTYPE_CHOICE, kzQueryable, "what the channel does outside its keys", behaviors},
    sideArgument,
    actionArgument};
constexpr ArgumentRow rangeArguments[] = {{"start", KZsTYPE_TIME, kzQueryable, "the time of the first key, in seconds"},
                                          {"end", KZsTYPE_TIME, kzQueryable, "the time of the last key, in seconds"},
                                          {"action", KZsTYPE_STRING, kzOptional | kzQueryable,
                                           "the action; \"animation\" when it is left out; queried, all"}};

// The keys that a command works on.
struct Keys {
    CHostRef<CItem> item;
    ChannelRef channel;
    std::shared_ptr<EnvelopeHome> home;

    const std::string& name() const { return channel.channel->name; }
    std::int32_t index() const { return item->read()->indexOf(*channel.channel); }
};

Texts actionNames(const CDocument& document) {
    Texts names(kzSceneActions.begin(), kzSceneActions.end());
    for (const Item* item : kzActionItems(document)) names.push_back(item->name);
    return names;
}

// The action that is named, as the document calls it; empty where none is.
std::string actionOf(const CScene& scene, CBuiltinCommand& command) {
    if (!command.has("action")) return {};
    const std::string name = command.text("action");
    const CReading reading(scene.document().workspace());
    const auto action = kzFindAction(scene.document(), name);
    if (!action)
        kzRefuse(KZe_NOTFOUND, "argument \"action\": " + kzThereIsNo("action", name, actionNames(scene.document())));
    return *action;
}

Keys keysOf(OpenScenes& scenes, CBuiltinCommand& command) {
    const CHostRef<CItem> item = kzItemArgument(scenes, command, "item");
    const std::int32_t index = kzChannelArgument(item, command, "channel");
    const std::string action = actionOf(*kzCurrentScene(scenes), command);
    const auto owner = item->read();
    const ChannelRef channel = kzChannelRef(*owner, *owner->channelAt(static_cast<std::size_t>(index)));
    return {item, channel, kzChannelEnvelope(item, channel, kzEnvelopeAction(*owner, *channel.channel, action))};
}

std::vector<EnvelopeKey> listOf(const EnvelopeData& data) {
    std::vector<EnvelopeKey> keys;
    for (std::size_t i = 0; i < data.keys().size(); ++i) keys.push_back(data.keys()[i]);
    return keys;
}

Texts textsOf(const EnvelopeData& data, double (*number)(const EnvelopeKey&)) {
    Texts texts;
    for (const EnvelopeKey& key : listOf(data)) texts.push_back(fmt::format("{}", number(key)));
    return texts;
}
double timeOfKey(const EnvelopeKey& key) { return key.time; }
double valueOfKey(const EnvelopeKey& key) { return key.out.value; }

std::size_t keyAt(const Keys& keys, const EnvelopeData& data, double time) {
    const std::size_t index = data.keysBefore(time);
    if (index < data.keys().size() && data.keys()[index].time == time) return index;
    const Texts times = textsOf(data, timeOfKey);
    kzRefuse(KZe_NOTFOUND,
             fmt::format("argument \"time\": the channel \"{}\" has no key at {}, {}", keys.name(), time,
                         times.empty() ? "and none elsewhere" : fmt::format("but at {}", fmt::join(times, ", "))));
}

// Changes a copy of the keys and writes it back as one change.
template <class Change> void editKeys(const Keys& keys, const Change& change) {
    kzEditEnvelope(*keys.home, [&](EnvelopeData& data) {
        if (data.keys().empty())
            kzRefuse(KZe_NOTFOUND, fmt::format("argument \"channel\": the channel \"{}\" has no keys", keys.name()));
        change(data);
    });
}

double presentTime(const CScene& scene) {
    const CReading reading(scene.document().workspace());
    const Item& root = *scene.document().root();
    return kzNumberOf(root.valueOf(*root.type.channel(KZsICHAN_SCENETIME_CURRENT))).value_or(0);
}

double timeOf(OpenScenes& scenes, CBuiltinCommand& command) {
    const auto time = command.number("time");
    return time ? *time : presentTime(*kzCurrentScene(scenes));
}

// A reader or writer of the scene's channels, in the action that is named.
using Open = KzResult (CScene::*)(const char* action, double time, IKzUnknown** access);
IKzUnknown* openChannels(OpenScenes& scenes, CBuiltinCommand& command, Open open, double time, CKzLoc_Unknown& access) {
    const std::string action = command.text("action");
    kzDemand((*kzCurrentScene(scenes).*open)(command.has("action") ? action.c_str() : nullptr, time, access.out()),
             command.row().name);
    return access.raw();
}

// What the channel has at that time.
double presentValue(OpenScenes& scenes, CBuiltinCommand& command, const Keys& keys) {
    CKzLoc_Unknown access;
    const CKzUser_ChannelRead read(
        openChannels(scenes, command, &CScene::scene_Channels, timeOf(scenes, command), access));
    double value = 0;
    kzDemand(read->Double(keys.item.raw(), keys.index(), &value), command.row().name);
    return value;
}

// A word of the channel, or the text of a number.
double givenValue(const ChannelInfo& channel, const std::string& text) {
    std::optional<double> number;
    if (channel.hints) number = kzChoiceOf(channel.hints->rows(), *channel.type, text);
    else if (const auto cell = channel.type != nullptr ? kzParseCell(*channel.type, text) : std::nullopt)
        number = kzNumberOf(*cell);
    if (number) return *number;
    const std::string expected = channel.hints
                                     ? kzOneOf(channel.hints->rows())
                                     : std::string(channel.type != nullptr ? channel.type->expects : "a number");
    kzRefuse(KZe_INVALIDARG, fmt::format("argument \"value\": {}", kzIsNot(text, expected)));
}

void setKey(OpenScenes& scenes, CBuiltinCommand& command) {
    const Keys keys = keysOf(scenes, command);
    const double time = timeOf(scenes, command);
    const double value = command.has("value") ? givenValue(*keys.channel.channel, command.text("value"))
                                              : presentValue(scenes, command, keys);
    CKzLoc_Unknown access;
    const CKzUser_ChannelWrite write(openChannels(scenes, command, &CScene::scene_WriteChannels, time, access));
    if (const KzResult code = write->DoubleKey(keys.item.raw(), keys.index(), value, time, 1); kzFailed(code))
        kzRefuse(code, fmt::format("the channel \"{}\" takes no key of {} at {}", keys.name(), value, time));
}

void deleteKeys(OpenScenes& scenes, CBuiltinCommand& command) {
    const Keys keys = keysOf(scenes, command);
    const auto start = command.number("time"), end = command.number("end");
    bool isLast = false;
    editKeys(keys, [&](EnvelopeData& data) {
        const double first = start.value_or(-kzGreatestEnvelopeNumber);
        const double last = end ? *end : start.value_or(kzGreatestEnvelopeNumber);
        auto list = listOf(data);
        if (std::erase_if(list, [&](const auto& key) { return key.time >= first && key.time <= last; }) == 0)
            kzRefuse(KZe_NOTFOUND, fmt::format("argument \"time\": the channel \"{}\" has keys at {} only", keys.name(),
                                               fmt::join(textsOf(data, timeOfKey), ", ")));
        isLast = list.empty();
        if (!isLast) data.setKeys(std::move(list));
    });
    if (!isLast) return;
    CKzLoc_Unknown access;
    const double time = presentTime(*kzCurrentScene(scenes));
    const CKzUser_ChannelWrite write(openChannels(scenes, command, &CScene::scene_WriteChannels, time, access));
    kzDemand(write->Remove(keys.item.raw(), keys.index(), 1), command.row().name);
}

// A key may pass others, but does not take their place.
void moveKey(OpenScenes& scenes, CBuiltinCommand& command) {
    const Keys keys = keysOf(scenes, command);
    const double from = *command.number("time"), to = *command.number("to");
    editKeys(keys, [&](EnvelopeData& data) {
        auto list = listOf(data);
        const std::size_t index = keyAt(keys, data, from);
        if (from != to && std::ranges::find(list, to, &EnvelopeKey::time) != list.end())
            kzRefuse(KZe_ALREADYEXISTS, fmt::format("argument \"to\": there is a key at {} already", to));
        list[index].time = to;
        std::ranges::sort(list, {}, &EnvelopeKey::time);
        data.setKeys(std::move(list));
    });
}

int sideOf(CBuiltinCommand& command) { return command.choice("side").value_or(KZiENVSIDE_BOTH); }

void setSlope(OpenScenes& scenes, CBuiltinCommand& command) {
    const Keys keys = keysOf(scenes, command);
    const auto slope = command.number("slope"), weight = command.number("weight");
    editKeys(keys, [&](EnvelopeData& data) {
        const std::size_t index = keyAt(keys, data, *command.number("time"));
        const int side = sideOf(command), given = side == KZiENVSIDE_OUT ? side : KZiENVSIDE_IN;
        if (side != KZiENVSIDE_BOTH) data.setBreak(index, KZfKEYBREAK_SLOPE | KZfKEYBREAK_WEIGHT, true);
        if (slope || weight)
            data.setSlope(index, slope.value_or(data.keySlope(index, given)),
                          weight.value_or(data.keys()[index].side(given).weight), side);
        if (const auto type = command.choice("type")) data.setSlopeType(index, static_cast<std::uint32_t>(*type), side);
    });
}

// Channels of whole numbers have an interpolation; others have slopes at their keys.
void setInterpolation(OpenScenes& scenes, CBuiltinCommand& command) {
    const auto mode = static_cast<std::uint32_t>(command.choice("mode").value_or(KZiENVINTERP_CURVE));
    editKeys(keysOf(scenes, command), [&](EnvelopeData& data) {
        if (data.isInteger()) return data.setInterpolation(mode);
        const bool isLinear = mode == KZiENVINTERP_LINEAR;
        const std::uint32_t smooth = mode == KZiENVINTERP_STEPPED ? KZiSLOPE_STEPPED : KZiSLOPE_AUTO;
        for (std::size_t i = 0; i < data.keys().size(); ++i) {
            data.setBreak(i, KZfKEYBREAK_SLOPE, isLinear);
            data.setSlopeType(i, isLinear ? KZiSLOPE_LINEARIN : smooth, KZiENVSIDE_IN);
            if (isLinear) data.setSlopeType(i, KZiSLOPE_LINEAROUT, KZiENVSIDE_OUT);
        }
    });
}

void setBehavior(OpenScenes& scenes, CBuiltinCommand& command) {
    const auto behavior = static_cast<std::uint32_t>(command.choice("behavior").value_or(KZiENV_CONSTANT));
    editKeys(keysOf(scenes, command), [&](EnvelopeData& data) { data.setEndBehavior(behavior, sideOf(command)); });
}

CKzUser_ActionClip clipOf(OpenScenes& scenes, CBuiltinCommand& command, CKzLoc_Unknown& object) {
    const CHostRef<CScene> scene = kzCurrentScene(scenes);
    const std::string action = actionOf(*scene, command);
    *object.out() = kzMakeActionClip(scene, action.empty() ? KZs_ACTIONLAYER_ANIM : action);
    return CKzUser_ActionClip(object.raw());
}

void setRange(OpenScenes& scenes, CBuiltinCommand& command) {
    CKzLoc_Unknown object;
    const double start = *command.number("start"), end = *command.number("end");
    if (const KzResult code = clipOf(scenes, command, object)->SetRange(start, end); kzFailed(code))
        kzRefuse(code,
                 fmt::format("no keys can be scaled to {} to {}: the end must come after the start, and the action "
                             "needs keys at two times",
                             start, end));
}

Texts queryRange(OpenScenes& scenes, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 2) return actionNames(kzCurrentScene(scenes)->document());
    CKzLoc_Unknown object;
    double range[2] = {};
    if (kzFailed(clipOf(scenes, command, object)->Range(&range[0], &range[1]))) return {};
    return {fmt::format("{}", range[index])};
}

Texts queryKeys(OpenScenes& scenes, CBuiltinCommand& command, std::uint32_t index) {
    const std::string_view name = command.row().arguments[index].name;
    if (name == "item") return kzItemNames(scenes);
    if (name == "channel") return kzChannelNames(kzItemArgument(scenes, command, "item"));
    if (name == "action") {
        const CHostRef<CScene> scene = kzCurrentScene(scenes);
        const CReading reading(scene->document().workspace());
        return actionNames(scene->document());
    }
    const Keys keys = keysOf(scenes, command);
    const auto data = keys.home->read();
    if (command.row().name == std::string_view("key.set"))
        return {fmt::format("{}", presentValue(scenes, command, keys))};
    if (command.row().name == std::string_view("key.list"))
        return textsOf(*data, name == "time" ? timeOfKey : valueOfKey);
    const bool isAfter = command.row().name == std::string_view("key.behavior") ? sideOf(command) != KZiENVSIDE_IN
                                                                                : sideOf(command) == KZiENVSIDE_OUT;
    const int side = isAfter ? KZiENVSIDE_OUT : KZiENVSIDE_IN;
    if (name == "behavior") return {fmt::format("{}", data->endBehavior(side))};
    const std::size_t key = keyAt(keys, *data, *command.number("time"));
    if (name == "type") return {fmt::format("{}", data->keys()[key].side(side).type)};
    return {fmt::format("{}", name == "slope" ? data->keySlope(key, side) : data->keys()[key].side(side).weight)};
}

}  // namespace

void kzAddKeyCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes) {
    const auto query = kzWith(queryKeys, scenes);
    kzAddCommands(registry, {
                                {"key.set", "Set Key", "sets a key of a channel", kzChangesScene, setArguments,
                                 kzWith(setKey, scenes), query},
                                {"key.delete", "Delete Keys", "removes keys of a channel", kzChangesScene,
                                 deleteKeyArguments, kzWith(deleteKeys, scenes), query},
                                {"key.move", "Move Key", "moves a key of a channel to another time", kzChangesScene,
                                 moveArguments, kzWith(moveKey, scenes), query},
                                {"key.list", "List Keys", "answers when a channel has keys, and their values",
                                 KZfCMD_QUIET, listArguments, kzOnlyQueried, query},
                                {"key.slope", "Key Slope", "shapes a channel before and after a key", kzChangesScene,
                                 slopeArguments, kzWith(setSlope, scenes), query},
                                {"key.interpolation", "Key Interpolation", "shapes a channel between all of its keys",
                                 kzChangesScene, interpolationArguments, kzWith(setInterpolation, scenes), query},
                                {"key.behavior", "Behavior Outside Keys", "says how a channel goes on outside its keys",
                                 kzChangesScene, behaviorArguments, kzWith(setBehavior, scenes), query},
                                {"key.range", "Range of Keys", "scales all keys of an action to a range of times",
                                 kzChangesScene, rangeArguments, kzWith(setRange, scenes), kzWith(queryRange, scenes)},
                            });
}

}  // namespace kzhost
