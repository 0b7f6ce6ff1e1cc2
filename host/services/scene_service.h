// The scene service: makes, loads, saves, finds and closes scenes, and lists the item types.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CPathAliases;
class CSceneFiles;
struct OpenScenes;

extern const ServiceFactory<OpenScenes, CSceneFiles, CPathAliases> kzMakeSceneService;

}  // namespace kzhost
