// Commands that answer interviews.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
class CInterviews;

void kzAddInterviewCommands(CCommandRegistry& registry, const std::shared_ptr<CInterviews>& interviews);

}  // namespace kzhost
