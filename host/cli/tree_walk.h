// Trees that modules serve.
#pragma once

#include "kz/base/unknown.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace kzhost {

// One node of a tree: its depth, and one text for each column of the tree's view.
struct TreeRow {
    std::uint32_t depth = 0;
    std::vector<std::string> cells;
};
// Walks the whole tree from its root. Throws the code with which an operation fails.
void kzWalkTree(IKzUnknown* tree, const std::function<void(const TreeRow&)>& take);

}  // namespace kzhost
