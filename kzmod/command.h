// Executing a command that has been spawned.
#pragma once

#include "kzmod/call.h"

#include "kz/command.h"

// False when the command failed; its message is noted as the exception then.
bool kzExecuteCommand(CCall& call, const CKzUser_Command& command, std::uint32_t flags);
