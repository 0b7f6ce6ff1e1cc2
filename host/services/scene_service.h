// The scene service: makes, finds and closes scenes, and knows all item types.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

struct OpenScenes;
struct ServiceContext;

IKzUnknown* kzMakeSceneService(std::shared_ptr<ServiceContext> context, std::shared_ptr<OpenScenes> scenes);

}  // namespace kzhost
