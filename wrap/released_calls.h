// Calls from Python to the host that let other threads run Python meanwhile: those that wait for other threads, which may
// have to run Python.
#pragma once

#include "wrap/wrapper.h"

// Replaces, in the row of a type that is being made, the generated functions of such methods.
[[gnu::visibility("hidden")]] void kzReleaseLockIn(const KzWrapperType& row) noexcept;
