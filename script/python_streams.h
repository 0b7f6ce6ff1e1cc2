// Python's own output: the objects that stand as sys.stdout and sys.stderr.
//
// What is written reaches the host twice. A host that takes text as it is written gets it at once, byte for byte; this is
// what a person sees. The log gets whole lines: a line is held here until its end comes, until something else is written
// to the log, or until the script ends. A host that takes only lines gets an unfinished one when it is flushed, too.
#pragma once

#include <string>

// Puts the streams into sys, as the current and as the original ones. Throws FAILED.
void kzInstallStreams();

// A line of a script's text that does not come through a stream: kz.out. An unfinished line of sys.stdout ends first.
// Throws FAILED, with IOError pending, when the host cannot write it.
void kzPrintLine(std::string line);
