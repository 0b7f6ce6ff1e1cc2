// Commands for the choices that an argument of another command offers.
#pragma once

#include <memory>

namespace kzhost {

class CCommandDispatcher;
class CCommandRegistry;
struct OpenScenes;

void kzAddChoiceCommands(CCommandRegistry& registry, const std::shared_ptr<CCommandDispatcher>& dispatcher,
                         const std::shared_ptr<OpenScenes>& scenes);

}  // namespace kzhost
