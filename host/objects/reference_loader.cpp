// Who loads the references of scenes, by the workspace of the scenes.
#include "host/objects/reference_loader.h"

#include <mutex>
#include <unordered_map>

namespace kzhost {

namespace {

struct HostLoaders {
    std::mutex lock;
    std::unordered_map<const CWorkspace*, std::weak_ptr<ReferenceLoader>> all;
};

HostLoaders& hostLoaders() {
    static HostLoaders theLoaders;
    return theLoaders;
}

}  // namespace

std::shared_ptr<ReferenceLoader> kzReferenceLoader(const CWorkspace& workspace) {
    HostLoaders& loaders = hostLoaders();
    const std::lock_guard lock(loaders.lock);
    const auto found = loaders.all.find(&workspace);
    return found != loaders.all.end() ? found->second.lock() : nullptr;
}

void kzKeepReferenceLoader(const CWorkspace& workspace, const std::shared_ptr<ReferenceLoader>& loader) {
    HostLoaders& loaders = hostLoaders();
    const std::lock_guard lock(loaders.lock);
    std::erase_if(loaders.all, [](const auto& entry) { return entry.second.expired(); });
    loaders.all[&workspace] = loader;
}

}  // namespace kzhost
