// The names of origins.
#include "host/state/text_board.h"

#include "kz/base/text_output.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kzhost {

namespace {

constexpr std::array<std::pair<TextOrigin, std::string_view>, 9> names = {{{TextOrigin::host, "host"},
                                                                           {TextOrigin::module, kzFromModule},
                                                                           {TextOrigin::report, kzFromReport},
                                                                           {TextOrigin::startup, kzFromStartup},
                                                                           {TextOrigin::script, kzFromScript},
                                                                           {TextOrigin::output, kzFromOutput},
                                                                           {TextOrigin::error, kzFromError},
                                                                           {TextOrigin::leaks, kzFromLeaks},
                                                                           {TextOrigin::replay, kzFromReplay}}};

}  // namespace

TextOrigin kzOriginOf(std::string_view name) noexcept {
    const auto* row = std::find_if(names.begin(), names.end(), [=](const auto& row) { return row.second == name; });
    return row != names.end() ? row->first : TextOrigin::host;
}

std::string_view kzOriginName(TextOrigin origin) noexcept { return names[static_cast<std::size_t>(origin)].second; }

}  // namespace kzhost
