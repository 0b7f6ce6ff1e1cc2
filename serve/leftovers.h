// Reports instances of Python classes that are unreachable but will never be freed.
#pragma once

// Writes to the log, by class, how many instances keep themselves or each other alive through wrappers. Runs before the
// interpreter ends, with its lock held. Best effort: nothing is written if memory is short.
void kzTellLeftovers() noexcept;
// Tells whoever watches which host objects are still there, after the interpreter has ended.
void kzTellRemainingObjects() noexcept;
