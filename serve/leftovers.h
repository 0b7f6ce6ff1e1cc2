// Which instances of Python classes nobody can reach any more and nothing will free.
#pragma once

// Names in the log, by class, the instances that keep each other alive through wrappers of themselves. Runs before the
// interpreter ends, with its lock held. Best effort: without the memory for it, nothing is said.
void kzTellLeftovers() noexcept;
