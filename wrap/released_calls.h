// Calls from Python to the host that let other threads run Python meanwhile: those that wait for other threads, which may
// have to run Python.
#pragma once

// Replaces the generated functions of such methods. Called before any type is made; calling it again changes nothing.
[[gnu::visibility("hidden")]] void kzReleaseLockInCalls() noexcept;
