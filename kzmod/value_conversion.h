// Converting the values of a query to Python objects.
#pragma once

#include "kzmod/call.h"

#include "kz/value.h"

// What the caller wants: the first value, a tuple of all, or whichever fits their number.
enum class KzShape { single = 1, tuple = 2, natural = 3 };

// The hints, which may be null, give integers their texts. Returns null, with an exception pending or noted, on failure.
PyObject* kzConvertValues(CCall& call, const CKzUser_ValueArray& values, const KzTextValueHint* hints, KzShape shape);
