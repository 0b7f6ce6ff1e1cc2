// Evaluations that are nested in one another.
#pragma once

#include "kz/base/unknown.h"

namespace kzhost {

// With nothing pushed.
IKzUnknown* kzMakeEvaluationStack();

}  // namespace kzhost
