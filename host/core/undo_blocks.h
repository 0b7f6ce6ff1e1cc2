// How commands and scripts group what they change into steps that can be undone. The history itself is above this floor.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace kzhost {

class CUndoBlocks {
public:
    CUndoBlocks() = default;
    CUndoBlocks(const CUndoBlocks&) = delete;
    CUndoBlocks& operator=(const CUndoBlocks&) = delete;
    virtual ~CUndoBlocks() = default;

    virtual void begin(const std::string& name) = 0;
    // Changes are made, but cannot be undone, until as many calls with false.
    virtual void suspend(bool on) = 0;
    virtual bool isSuspended() const = 0;
    virtual std::size_t depth() const = 0;
    // Closes the blocks that were opened since there were that many.
    virtual void endAbove(std::size_t depth) = 0;
    // As above, and undoes what they hold.
    virtual void discardAbove(std::size_t depth) = 0;

    // Undoes the last step; false if the history has changed since that revision, or a block is open.
    virtual bool undoLast(std::uint64_t revision) = 0;
    virtual void redoLast() = 0;
    // Nothing can be redone any more.
    virtual void forgetUndone() = 0;
    virtual std::string lastName() const = 0;  // of the step that is undone next; empty if there is none
    // Another number after each change of the history. The first takes into account what is yet to be recorded.
    virtual std::uint64_t freshRevision() const = 0;
    std::uint64_t revision() const noexcept { return m_revision; }
    void historyChanged() noexcept { ++m_revision; }

private:
    std::atomic<std::uint64_t> m_revision{0};
};

// What a command leaves in the history.
enum class UndoKind {
    block,      // one step
    noStep,     // nothing: it makes changes that cannot be undone
    untouched,  // what it does by itself
};

// Groups what is changed while this lives. Whatever blocks were opened meanwhile and not closed, as by a script that raised, are
// closed with it.
class CUndoBlock {
public:
    CUndoBlock(CUndoBlocks* blocks, UndoKind kind, const std::string& name) : m_blocks(blocks), m_kind(kind) {
        if (m_blocks == nullptr) return;
        m_depth = m_blocks->depth();
        if (m_kind == UndoKind::block) m_blocks->begin(name);
        if (m_kind == UndoKind::noStep) m_blocks->suspend(true);
    }
    CUndoBlock(const CUndoBlock&) = delete;
    CUndoBlock& operator=(const CUndoBlock&) = delete;
    ~CUndoBlock() {
        if (m_blocks == nullptr) return;
        m_blocks->endAbove(m_depth);
        if (m_kind == UndoKind::noStep) m_blocks->suspend(false);
    }

private:
    CUndoBlocks* m_blocks;
    UndoKind m_kind;
    std::size_t m_depth = 0;
};

}  // namespace kzhost
