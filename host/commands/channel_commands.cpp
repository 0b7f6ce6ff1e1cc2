// The commands for channels of items of the current scene.
#include "host/commands/document_commands.h"
#include "host/commands/document_targets.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/scene_graph.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <string>

namespace kzhost {

namespace {

constexpr ArgumentRow valueArguments[] = {
    kzItemRow,
    kzChannelRow,
    {"value", KZsTYPE_STRING, kzOptional | kzQueryable, "the new value; without one, the channel gets its default"}};
constexpr ArgumentRow createArguments[] = {
    kzItemRow,
    {"channel", KZsTYPE_STRING, 0, "the new channel's name"},
    {"type", KZsTYPE_STRING, kzQueryable, "the type of its value, such as \"distance\"; queried, all types"}};
constexpr ArgumentRow deleteArguments[] = {kzItemRow, kzChannelRow};
constexpr ArgumentRow linkArguments[] = {kzItemRow,
                                         kzChannelRow,
                                         {"target", KZsTYPE_STRING, 0, "the item whose channel is driven"},
                                         {"targetChannel", KZsTYPE_STRING, 0, "the channel that is driven"}};

Texts queryNames(OpenScenes& scenes, CBuiltinCommand& command, std::uint32_t index) {
    return index == 0 ? kzItemNames(scenes) : kzChannelNames(kzItemArgument(scenes, command, "item"));
}

void setValue(OpenScenes& scenes, CBuiltinCommand& command) {
    const CHostRef<CItem> item = kzItemArgument(scenes, command, "item");
    const std::int32_t channel = kzChannelArgument(item, command, "channel");
    CKzLoc_Unknown access;
    kzDemand(kzCurrentScene(scenes)->scene_WriteChannels(nullptr, 0, access.out()), "channel.value");
    const CKzUser_ChannelWrite write(access.raw());
    const std::string value = command.text("value");
    if (!command.has("value")) return kzDemand(write->Reset(item.raw(), channel), "channel.value");
    // A word of an enumeration, or else the text of a value.
    KzResult code = write->EncodedInteger(item.raw(), channel, value.c_str());
    if (kzFailed(code)) code = write->String(item.raw(), channel, value.c_str());
    if (kzFailed(code))
        kzRefuse(code, fmt::format("argument \"value\": the channel \"{}\" does not take \"{}\"",
                                   command.text("channel"), value));
}

Texts queryValue(OpenScenes& scenes, CBuiltinCommand& command, std::uint32_t index) {
    if (index < 2) return queryNames(scenes, command, index);
    const CHostRef<CItem> item = kzItemArgument(scenes, command, "item");
    const std::int32_t channel = kzChannelArgument(item, command, "channel");
    CKzLoc_Unknown access;
    kzDemand(kzCurrentScene(scenes)->scene_Channels(nullptr, 0, access.out()), "channel.value");
    const CKzUser_ChannelRead read(access.raw());
    const char* text = nullptr;
    kzDemand(read->String(item.raw(), channel, &text), "channel.value");
    return {kzString(text)};
}

void createChannel(OpenScenes& scenes, CBuiltinCommand& command) {
    CKzLoc_Unknown description;
    const std::string name = command.text("channel"), type = command.text("type");
    kzDemand(kzItemArgument(scenes, command, "item")->item_ChannelAdd(name.c_str(), type.c_str(), description.out()),
             "channel.create");
}

Texts queryTypes(OpenScenes& scenes, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return queryNames(scenes, command, index);
    Texts names;
    for (const auto& type : kzValueTypes()) names.emplace_back(type.name);
    return names;
}

void deleteChannel(OpenScenes& scenes, CBuiltinCommand& command) {
    const CHostRef<CItem> item = kzItemArgument(scenes, command, "item");
    kzChannelArgument(item, command, "channel");
    kzDemand(item->item_ChannelRemove(command.text("channel").c_str()), "channel.delete");
}

using LinkOperation = KzResult (IKzChannelGraph::*)(IKzUnknown* source, std::int32_t sourceChannel, IKzUnknown* target,
                                                    std::int32_t targetChannel);
template <LinkOperation operation> void changeLink(OpenScenes& scenes, CBuiltinCommand& command) {
    const CHostRef<CItem> source = kzItemArgument(scenes, command, "item");
    const CHostRef<CItem> target = kzItemArgument(scenes, command, "target");
    const std::int32_t output = kzChannelArgument(source, command, "channel");
    const std::int32_t input = kzChannelArgument(target, command, "targetChannel");
    CKzLoc_Unknown object;
    kzDemand(kzCurrentScene(scenes)->scene_GraphLookup(KZsGRAPH_CHANLINKS, object.out()), "channel.link");
    const CKzUser_ChannelGraph graph(object.raw());
    kzDemand((graph.ptr()->*operation)(source.raw(), output, target.raw(), input), "channel.link");
}

}  // namespace

void kzAddChannelCommands(CCommandRegistry& registry, const std::shared_ptr<OpenScenes>& scenes) {
    kzAddCommands(registry,
                  {
                      {"channel.value", "Channel Value", "sets the value of a channel", kzChangesScene, valueArguments,
                       kzWith(setValue, scenes), kzWith(queryValue, scenes)},
                      {"channel.create", "Create Channel", "adds a channel to an item", kzChangesScene, createArguments,
                       kzWith(createChannel, scenes), kzWith(queryTypes, scenes)},
                      {"channel.delete", "Delete Channel", "removes a channel that was added to an item",
                       kzChangesScene, deleteArguments, kzWith(deleteChannel, scenes), kzWith(queryNames, scenes)},
                      {"channel.link", "Link Channels", "lets a channel drive another", kzChangesScene, linkArguments,
                       kzWith(changeLink<&IKzChannelGraph::AddLink>, scenes), kzWith(queryNames, scenes)},
                      {"channel.unlink", "Unlink Channels", "ends a link of channels", kzChangesScene, linkArguments,
                       kzWith(changeLink<&IKzChannelGraph::DeleteLink>, scenes), kzWith(queryNames, scenes)},
                  });
}

}  // namespace kzhost
