// What files say about themselves: servers fill it in as attributes.
#pragma once

#include "host/state/function_ref.h"
#include "host/state/value_types.h"

#include "kz/base/unknown.h"

#include <map>
#include <string>
#include <string_view>

namespace kzhost {

// By sMETRIC names.
using FileMetrics = std::map<std::string, KzCell, std::less<>>;

// The type of a metric's values; throws NOTFOUND.
const KzValueType& kzMetricType(std::string_view name);
// Passes attributes for all metrics to `fill`. What it puts there; nothing if it returns false.
FileMetrics kzFilledMetrics(CFunctionRef<bool(IKzUnknown* attributes)> fill);

}  // namespace kzhost
