// Commands for settings of the host: aliases of folders, and units.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
class CPathAliases;
class CPropertyTable;

void kzAddSettingCommands(CCommandRegistry& registry, const std::shared_ptr<CPathAliases>& files,
                          const std::shared_ptr<CPropertyTable>& properties);

}  // namespace kzhost
