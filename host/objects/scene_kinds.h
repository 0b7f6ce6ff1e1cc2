// The kinds of channels as words of scene files.
#pragma once

#include "host/document/channel_info.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

namespace kzhost {

inline constexpr std::string_view kzChannelKindWords[] = {"stored", "item",  "gradient", "matrix", "object",
                                                          "local",  "world", "parent",   "inverse"};
static_assert(std::size(kzChannelKindWords) == static_cast<std::size_t>(ChannelKind::inverseMatrix) + 1);

constexpr std::string_view kzKindWord(ChannelKind kind) { return kzChannelKindWords[static_cast<std::size_t>(kind)]; }

inline std::optional<ChannelKind> kzKindOfWord(std::string_view word) {
    const auto* place = std::find(std::begin(kzChannelKindWords), std::end(kzChannelKindWords), word);
    if (place == std::end(kzChannelKindWords)) return std::nullopt;
    return static_cast<ChannelKind>(place - std::begin(kzChannelKindWords));
}

}  // namespace kzhost
