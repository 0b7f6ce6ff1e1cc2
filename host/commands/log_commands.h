// Commands that read the log, add to it and clear it.
#pragma once

#include <memory>

namespace kzhost {

class CLogStore;
class CCommandRegistry;
class CPropertyTable;

void kzAddLogCommands(CCommandRegistry& registry, const std::shared_ptr<CLogStore>& log,
                      const std::shared_ptr<CPropertyTable>& properties);

}  // namespace kzhost
