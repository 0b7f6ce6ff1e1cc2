// What the commands for documents act on.
#include "host/commands/document_targets.h"

#include "host/core/reason_memory.h"
#include "host/core/reasons.h"
#include "host/objects/layers.h"
#include "host/state/text.h"

#include "kz/result.h"

#include <fmt/format.h>

namespace kzhost {

CHostRef<CScene> kzCurrentScene(OpenScenes& scenes) {
    if (scenes.list.empty()) kzRefuse(KZe_NOTFOUND, "there is no scene; scene.new makes one");
    return scenes.list.back();
}

CHostRef<CItem> kzItemArgument(OpenScenes& scenes, CBuiltinCommand& command, const char* argument) {
    const CHostRef<CScene> scene = kzCurrentScene(scenes);
    const std::string name = command.text(argument);
    const CReading reading(*scenes.workspace);
    const CDocument& document = scene->document();
    Item* item = document.byName(name);
    if (item == nullptr) item = document.byIdent(name);
    if (item == nullptr)
        kzRefuse(KZe_NOTFOUND,
                 fmt::format("argument \"{}\": {}", argument, kzThereIsNo("item", name, kzItemNames(scenes))));
    return kzObjectOf(*item);
}

CHostRef<CItem> kzLayerArgument(OpenScenes& scenes, CBuiltinCommand& command, const char* argument) {
    if (command.has(argument)) {
        CHostRef<CItem> item = kzItemArgument(scenes, command, argument);
        if (!kzIsLayer(*item->read()))
            kzRefuse(KZe_INVALIDARG, fmt::format("argument \"{}\": \"{}\" is no mesh, and so no layer", argument,
                                                 command.text(argument)));
        return item;
    }
    const CHostRef<CScene> scene = kzCurrentScene(scenes);
    const CReading reading(*scenes.workspace);
    Item* layer = kzMainLayer(scene->document());
    if (layer == nullptr)
        kzRefuse(KZe_NOTFOUND, fmt::format("argument \"{}\" is missing, and no layer is active", argument));
    return kzObjectOf(*layer);
}

std::int32_t kzChannelArgument(const CHostRef<CItem>& item, CBuiltinCommand& command, const char* argument) {
    const std::string name = command.text(argument);
    const auto reading = item->read();
    const std::int32_t channel = reading->findChannel(name);
    if (channel < 0)
        kzRefuse(KZe_NOTFOUND,
                 fmt::format("argument \"{}\": {}", argument, kzThereIsNo("channel", name, kzChannelNames(item))));
    return channel;
}

void kzDemand(KzResult code, const char* what) {
    if (kzSucceeded(code)) return;
    const std::string reason = CReasonMemory::latest(code);
    kzRefuse(code, reason.empty() ? fmt::format("{} failed: {}", what, kzCodeName(code)) : reason);
}

Texts kzItemNames(OpenScenes& scenes) {
    Texts names;
    if (scenes.list.empty()) return names;
    const CReading reading(*scenes.workspace);
    scenes.list.back()->document().each(KZiITYPE_ANY, [&](const Item& item) { names.push_back(item.uniqueName); });
    return names;
}

Texts kzChannelNames(const CHostRef<CItem>& item) {
    const auto reading = item->read();
    Texts names;
    for (std::size_t i = 0; i < reading->channelCount(); ++i) names.push_back(reading->channelAt(i)->name);
    return names;
}

}  // namespace kzhost
