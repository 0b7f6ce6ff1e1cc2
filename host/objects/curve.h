// Curves as objects, and what walks along them.
#pragma once

#include "host/document/curve_shape.h"

#include "kz/base/types.h"

namespace kzhost {

IKzUnknown* kzMakeCurve(CurveDefinition definition);
// Walks any curve, also those of others.
IKzUnknown* kzMakePathStep();

}  // namespace kzhost
