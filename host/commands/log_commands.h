// Commands that read the log, add to it and clear it.
#pragma once

#include <memory>

class CLogStore;

namespace kzhost {

class CCommandRegistry;
class CPropertyTable;

void kzAddLogCommands(CCommandRegistry& registry, const std::shared_ptr<CLogStore>& log,
                      const std::shared_ptr<CPropertyTable>& properties);

}  // namespace kzhost
