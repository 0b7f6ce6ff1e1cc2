// Commands for settings of the host: aliases of folders, and units.
#pragma once

#include <memory>

class CCommandRegistry;
class CFileTable;
class CPropertyTable;

void kzAddSettingCommands(CCommandRegistry& registry, const std::shared_ptr<CFileTable>& files,
                          const std::shared_ptr<CPropertyTable>& properties);
