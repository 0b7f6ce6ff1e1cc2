// What may stand where somebody presses Tab in the console.
#pragma once

#include "host/editor/line_editor.h"
#include "host/kz_host.h"

namespace kzhost {

class CLineSession;

// For the end of the line: names of the interpreter; inside a text command strings (command_completion.h) or, where a file
// is asked for, files; among a call's arguments its signature and the constants that the description names for the
// argument. The interpreter is asked only what names there are: asking must not run what the line would run.
Completion kzComplete(CLineSession& session, CKzHost& host, const std::string& line);

}  // namespace kzhost
