// Commands that let others be executed again in place of what they did before.
#pragma once

#include <memory>

namespace kzhost {

class CCommandDispatcher;
class CCommandRegistry;

void kzAddRepeatCommands(CCommandRegistry& registry, const std::shared_ptr<CCommandDispatcher>& dispatcher);

}  // namespace kzhost
