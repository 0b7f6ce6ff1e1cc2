// Dialogs that ask for the arguments of a command, in a host without windows: one question after another.
#pragma once

#include "kz/base/types.h"

namespace kzhost {

class CCommandArguments;
class CDialogBoard;

// Whether the flags of an execution want something asked: what is missing, or everything.
bool kzWantsDialog(const CCommandArguments& arguments, std::uint32_t flags);
// Returns the code with which the command refuses; throws CommandTextError when the dialog is cancelled.
KzResult kzAskArguments(const CDialogBoard& board, CCommandArguments& arguments);

}  // namespace kzhost
