// Replaces items by items of other types. The host moves name, place and links; a module's server copies the rest.
#pragma once

#include "host/objects/item.h"

#include <memory>
#include <string>
#include <vector>

namespace kzhost {

class CModuleTable;
class CScene;

// The types for which a server replaces the item. The lock must not be held for either.
std::vector<std::string> kzReplacementTypes(const CModuleTable& modules, const CHostRef<CItem>& item);
// Returns the new item, in place of the former one. A failure leaves the scene as it was. Throws the code of one, which has been
// explained: NOTSUPPORTED if no server replaces the item by one of that type.
CHostRef<CItem> kzReplaceItem(const CModuleTable& modules, const CHostRef<CScene>& scene, const CHostRef<CItem>& item,
                              const std::string& type);

}  // namespace kzhost
