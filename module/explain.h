// Reasons for failures, in the event log, because the exceptions and result codes are fixed and say too little.
#pragma once

#include <string>

// Writes "PLACE: REASON" as a warning to the log subsystem "python", bypassing the sinks of scripts and consoles. The
// place names what was called ("kz.object.Mesh.AddVertex, argument 2 'position'"); the reason says what was expected and
// what was passed. A line that was written before is only counted, so that a loop cannot flood the log. Needs the
// interpreter lock; a pending Python exception stays pending.
void kzExplain(const std::string& place, const std::string& reason) noexcept;

// Writes how often each repeated reason occurred, and clears the counts. Runs at unload, before the log service is gone.
void kzTellRepeatedReasons() noexcept;
