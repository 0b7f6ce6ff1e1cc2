// The channel UI service: names, texts and states of channels for people.
#pragma once

#include "host/services/service_factory.h"

#include <string>

namespace kzhost {

class CModuleTable;
class CValueTypeRegistry;
struct OpenScenes;

extern const ServiceFactory<CModuleTable, CValueTypeRegistry, OpenScenes> kzMakeChannelUIService;

// The hints that the servers of the item's type give for one of its channels, of an item of the current scene.
KzResult kzGiveChannelHints(const CModuleTable& modules, const OpenScenes& scenes, const std::string& ident,
                            const std::string& channel, IKzUnknown** hints);

}  // namespace kzhost
