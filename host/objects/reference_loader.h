// Who loads the references of scenes: what files and scenes know of it.
#pragma once

#include "host/core/object.h"

#include <cstdint>
#include <memory>
#include <string>

namespace kzhost {

class CItem;
class CScene;
class CWorkspace;

class ReferenceLoader {
public:
    ReferenceLoader() = default;
    ReferenceLoader(const ReferenceLoader&) = delete;
    ReferenceLoader& operator=(const ReferenceLoader&) = delete;
    virtual ~ReferenceLoader() = default;

    // Loads all that are wanted. What cannot be loaded is said in the log, and stays as it is.
    virtual void loadAll(CScene& scene) const = 0;
    // Tells the listeners which references a scene has that was just loaded.
    virtual void tellLoaded(CScene& scene) const = 0;
    // The item with that identifier and type in the file, to which the scene then refers. Throws NOTFOUND without one.
    virtual CHostRef<CItem> bringIn(CScene& scene, const std::string& ident, std::int32_t type,
                                    const std::string& path) const = 0;
};

// That of the host whose documents these are; null without any.
std::shared_ptr<ReferenceLoader> kzReferenceLoader(const CWorkspace& workspace);
void kzKeepReferenceLoader(const CWorkspace& workspace, const std::shared_ptr<ReferenceLoader>& loader);

}  // namespace kzhost
