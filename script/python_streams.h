// The objects behind sys.stdout and sys.stderr.
//
// Output reaches the host in two ways. A host that offers IKzTextOutput gets the bytes at once and unchanged; this is
// what the user sees. The log gets whole lines: an unfinished line is buffered until it is complete, until something
// else is written to the log, or until the script ends. If the host has no IKzTextOutput, flush() writes the unfinished
// line, too.
#pragma once

#include <string>

// Installs the streams in sys, as stdout and stderr and as __stdout__ and __stderr__. Throws FAILED.
void kzInstallStreams();

// Writes a line for kz.out, after ending an unfinished line of sys.stdout. Throws FAILED, with IOError pending, if the
// host cannot write it.
void kzPrintLine(std::string line);
