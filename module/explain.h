// Reasons in the event log for failures whose exception or result code is fixed and says too little.
#pragma once

#include <string>

// Writes "PLACE: REASON" as a warning to the log subsystem "python", past the sinks of scripts and consoles. The place
// names what was called ("kz.object.Mesh.AddVertex, argument 2 'position'"), the reason what was expected and what came.
// A pair that was written before is only counted, so that a loop cannot flood the log. Needs the interpreter lock;
// a pending Python exception stays pending.
void kzExplain(const std::string& place, const std::string& reason) noexcept;

// Writes how often each repeated reason occurred, and forgets them all. Runs at unload, before the log service goes.
void kzTellRepeatedReasons() noexcept;
