// The program that reads and writes foreign models, in a process of its own.
#pragma once

#include "host/models/model.h"

#include <functional>
#include <string>
#include <string_view>

namespace kzhost {

class CPathAliases;

// Whether the task goes on; asked several times a second.
using ModelGoesOn = std::function<bool()>;

inline constexpr std::string_view kzModelFormats[] = {"gltf", "glb", "obj", "ply", "stl"};  // those that can be written

// Throws ModelUnknown or ModelError with what is wrong, NOTAVAILABLE if the program is not installed, or ABORT.
ForeignModel kzReadModel(const CPathAliases& files, const std::string& path, const ModelGoesOn& goesOn);
void kzWriteModel(const CPathAliases& files, ForeignModel model, const std::string& format, const std::string& path,
                  const ModelGoesOn& goesOn);

}  // namespace kzhost
