// Matrices and rotations as objects that compute.
#pragma once

#include "host/document/transform_values.h"

namespace kzhost {

// The size of a matrix is 3 or 4.
IKzUnknown* kzMakeMatrix(std::uint32_t size, const KzMatrix4& value);
IKzUnknown* kzMakeQuaternion();

}  // namespace kzhost
