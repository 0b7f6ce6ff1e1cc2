// Dialogs of kzhost: the question on standard error, the answer a line of standard input.
#pragma once

#include "host/state/dialog_board.h"

namespace kzhost {

// Nothing when the input ends or Ctrl-C comes: that cancels the dialog.
std::optional<std::string> kzPromptOnTerminal(const DialogQuestion& question);

}  // namespace kzhost
