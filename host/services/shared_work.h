// Work that is cut into parts: ranges, work that can be split, and lists of jobs.
#pragma once

#include "kz/base/object.h"

#include <cstdint>

namespace kzhost {

std::uint32_t kzProcessorCount();

// The range includes both ends. Each returns the first failure, after which nothing else is begun.
KzResult kzProcessRange(IKzUnknown* worker, IKzUnknown* shared, std::int32_t first, std::int32_t last);
// A SharedWork, or a WorkList of these and of jobs.
KzResult kzProcessShared(IKzUnknown* work);

}  // namespace kzhost
