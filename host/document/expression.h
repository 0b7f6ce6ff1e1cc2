// Formulas: numbers, names, functions and operators, as "2 * sin(t) + clamp(input, 0, 1)".
#pragma once

#include "host/state/function_ref.h"

#include <optional>
#include <string>
#include <string_view>

namespace kzhost {

// The value of a formula. `variable` gives the value of a name, or nothing for one that is not known. A formula that cannot be
// understood has none; `why` then says what is wrong, and where.
std::optional<double> kzCalculate(std::string_view formula,
                                  CFunctionRef<std::optional<double>(std::string_view name)> variable,
                                  std::string& why);

}  // namespace kzhost
