// Selections of packet kinds, the stacks and lists of packets that are made by them.
#pragma once

#include "kz/base/unknown.h"

#include <memory>

namespace kzhost {

class CVectorKinds;

// An empty type; a null category allows kinds of all.
IKzUnknown* kzMakeVectorType(std::shared_ptr<CVectorKinds> kinds, const char* category);

}  // namespace kzhost
