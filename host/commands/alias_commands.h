// Commands for aliases of commands, and what ran before.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;

void kzAddAliasCommands(const std::shared_ptr<CCommandRegistry>& registry);

}  // namespace kzhost
