// The dialogs of kzhost: the question goes to standard error, and the answer is a line of standard input.
#pragma once

#include "host/state/dialog_board.h"

namespace kzhost {

// Nothing if the input ends or Ctrl-C is pressed, which cancels the dialog.
std::optional<std::string> kzPromptOnTerminal(const DialogQuestion& question);

}  // namespace kzhost
