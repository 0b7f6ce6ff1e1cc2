// The base of all services.
#include "host/core/service_base.h"

#include <array>

namespace kzhost {}  // namespace kzhost
