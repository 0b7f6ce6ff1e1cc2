// Dialogs that ask for the arguments of a command, in a host without windows: one question after another.
#pragma once

#include "kz/base/types.h"

namespace kzhost {

class CCommandArguments;
class CDialogBoard;

// Asks for what the flags of an execution want asked: what is missing, or everything. Returns the code with which the
// command refuses; throws CommandTextError when the dialog is cancelled.
KzResult kzAskArguments(const CDialogBoard& board, CCommandArguments& arguments, std::uint32_t flags);

}  // namespace kzhost
