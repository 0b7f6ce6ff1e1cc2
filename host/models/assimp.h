// Foreign models through Assimp.
#pragma once

#include "host/models/model.h"

#include <string>

namespace kzhost {

// Throws ModelUnknown if no reader takes the file, and ModelError for what is wrong with it.
ForeignModel kzReadForeign(const std::string& path);
// The format is an extension without its point: gltf, glb, obj, ply or stl. Throws ModelError.
void kzWriteForeign(const ForeignModel& model, const std::string& format, const std::string& path);

}  // namespace kzhost
