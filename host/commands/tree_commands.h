// Commands that show the trees of modules as tables and outlines, and use them as a user of their views would.
#pragma once

#include "host/commands/builtin_command.h"

#include <memory>

namespace kzhost {

class CCommandDispatcher;
class CCommandRegistry;
class CDrops;
class CTreeViews;

inline constexpr std::uint32_t kzTreeAnswer = kzOptional | kzQueryable | KZfCMDARG_READONLY;
inline constexpr const char* kzTreeMeaning = "the tree, by its server name; queried, all trees";

// A word for a bit, as scripts see it.
struct TreeWord {
    std::int32_t bit;
    const char* word;
};
template <class Words> Texts kzTreeWords(const Words& words, std::uint32_t bits) {
    Texts texts;
    for (const TreeWord& each : words)
        if ((bits & static_cast<std::uint32_t>(each.bit)) != 0) texts.emplace_back(each.word);
    return texts;
}

// Views, rows and columns.
void kzAddTreeCommands(CCommandRegistry& registry, const std::shared_ptr<CTreeViews>& trees);
// Cells, which run commands, and drags.
void kzAddTreeCellCommands(CCommandRegistry& registry, const std::shared_ptr<CTreeViews>& trees,
                           const std::shared_ptr<CCommandDispatcher>& dispatcher, const std::shared_ptr<CDrops>& drops);

}  // namespace kzhost
