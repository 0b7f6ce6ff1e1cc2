// What may stand at the end of a command string.
#pragma once

#include "host/editor/line_editor.h"

#include <string>

namespace kzhost {

class CCommandDispatcher;

// Names of commands, and behind one of the host's own its arguments and what each can be set to: its choices, or what a query
// of it answers, such as the items of the scene. Places are those in the text. Words with `quote` in them are left out, as
// the text stands between two of these.
Completion kzCompleteCommand(const CCommandDispatcher& commands, const std::string& text, char quote);

}  // namespace kzhost
