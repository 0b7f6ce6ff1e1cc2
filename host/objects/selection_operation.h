// Selection operations of modules: each decides which of the selected elements stay selected.
#pragma once

#include "host/objects/open_scenes.h"

#include "kz/selection.h"

#include <cstdint>

namespace kzhost {

// Asks the operation about the selected elements of that type, mesh by mesh. The selection stays as it was if it fails. The lock
// must not be held.
KzResult kzOperateSelection(const OpenScenes& scenes, const CKzUser_SelectionOperation& operation, std::int32_t type);

}  // namespace kzhost
