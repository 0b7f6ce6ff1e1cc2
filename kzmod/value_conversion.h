// The values that a query answers, as Python objects.
#pragma once

#include "kzmod/call.h"

#include "kz/value.h"

// What the caller of a query wants: its first value, a tuple of all, or whichever fits their number.
enum class KzShape { single = 1, tuple = 2, natural = 3 };

// The hints give integers their texts; null when there are none. Null with an exception raised or noted on failure.
PyObject* kzConvertValues(CCall& call, const CKzUser_ValueArray& values, const KzTextValueHint* hints, KzShape shape);
