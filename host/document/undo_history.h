// The history of changes: steps that are undone and redone, and the blocks that are being made into a step.
//
// A step is the outermost block, or a change outside any block. The history is plain bookkeeping: the workspace applies
// the changes, under its lock.
#pragma once

#include "host/document/change.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace kzhost {

struct UndoStep {
    std::string name;
    std::uint32_t flags = 0;  // fUNDO_BLOCK
    ChangeList changes;

    std::size_t memory() const;
};

class CUndoHistory {
public:
    // Takes changes that have been made, into the open block or as a step of their own.
    void record(ChangeList changes);

    void beginBlock(std::string name, std::uint32_t flags);
    bool inBlock() const noexcept { return !m_blocks.empty(); }
    std::size_t blockDepth() const noexcept { return m_blocks.size(); }
    // True if that made or lengthened a step. There must be an open block.
    bool endBlock();
    // Closes the open block, and returns what it held for the caller to reverse, the last change last.
    ChangeList discardBlock();

    // While suspended, changes are not recorded; as older steps do not fit what comes out, they go.
    void suspend(bool on);
    bool isSuspended() const noexcept { return m_suspensions > 0; }

    // The step that is undone or redone next, taken out; nothing if there is none. The caller applies it and then puts it on
    // the other side, or back after a failure.
    std::optional<UndoStep> take(Direction direction);
    void put(Direction direction, UndoStep step);

    std::size_t count(Direction direction) const noexcept { return side(direction).size(); }
    // Counted from the step that is next; null past the end.
    const UndoStep* step(Direction direction, std::size_t index) const;

    void clear(Direction direction);
    // Drops all changes of a document that is closed.
    void forget(const CDocument& document);
    // Drops the oldest steps beyond that many steps or bytes.
    void setLimits(std::size_t steps, std::size_t bytes);

private:
    struct Block {
        std::string name;
        std::uint32_t flags;
        std::size_t first;  // its first change in the step that is being made
    };
    using Steps = std::deque<UndoStep>;  // the next one last
    Steps& side(Direction direction) { return direction == Direction::reverse ? m_undo : m_redo; }
    const Steps& side(Direction direction) const { return direction == Direction::reverse ? m_undo : m_redo; }
    bool add(UndoStep step);
    void trim();

    Steps m_undo, m_redo;
    std::vector<Block> m_blocks;
    ChangeList m_open;  // of the open blocks
    std::size_t m_suspensions = 0;
    std::size_t m_maxSteps = 1'000'000, m_maxBytes = std::size_t{1} << 30, m_bytes = 0;
};

}  // namespace kzhost
