// Commands that calculate with values of any type, and with colours.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
class CModuleTable;

void kzAddValueCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules);

}  // namespace kzhost
