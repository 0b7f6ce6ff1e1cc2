// Types of items as files describe them, for items of which this host does not have the type.
#pragma once

#include "host/document/item_types.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

// A type outside the table, with the number UNKNOWN: it is found only by its items. The same description gives the same
// type, which stays. Throws ALREADYEXISTS if two channels have one name.
const ItemType& kzDescribedType(const ItemTypeDeclaration& declaration, const ItemType& base);

// The same text for as long as the process lives; null for an empty one, and once there are very many.
const char* kzInterned(std::string_view text);

std::shared_ptr<const COwnedHints> kzOwnHints(const std::vector<std::pair<std::int32_t, std::string>>& choices);

}  // namespace kzhost
