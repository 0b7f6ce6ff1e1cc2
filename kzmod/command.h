// Executing a spawned command.
#pragma once

#include "kzmod/call.h"

#include "kz/command.h"

// Notes why the host has refused the command's arguments or query, which the command's message says.
void kzBlame(CCall& call, const CKzUser_Command& command, KzResult code);

// False if the command failed; the text of its message is then noted as the exception.
bool kzExecuteCommand(CCall& call, const CKzUser_Command& command, std::uint32_t flags);
