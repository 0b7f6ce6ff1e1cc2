// The command for values that users and scripts define by name.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
class CUserValues;

void kzAddUserValueCommands(CCommandRegistry& registry, const std::shared_ptr<CUserValues>& values);

}  // namespace kzhost
