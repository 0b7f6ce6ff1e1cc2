// The history of documents as commands and scripts use it.
#include "host/objects/document_undo.h"

#include "kz/undo.h"

#include <utility>

namespace kzhost {

namespace {

class CDocumentUndo final : public CUndoBlocks {
public:
    explicit CDocumentUndo(std::shared_ptr<CWorkspace> workspace) : m_workspace(std::move(workspace)) {}

    // A command that changes nothing leaves no step.
    void begin(const std::string& name) override { m_workspace->beginBlock(name, KZfUNDO_BLOCK_NOEMPTY); }
    void suspend(bool on) override { m_workspace->suspend(on); }
    bool isSuspended() const override {
        return m_workspace->state() == static_cast<std::uint32_t>(KZiUNDO_STATE_SUSPENDED);
    }
    std::size_t depth() const override { return m_workspace->blockDepth(); }
    void endAbove(std::size_t depth) override { m_workspace->endBlocksAbove(depth); }
    void discardAbove(std::size_t depth) override {
        while (m_workspace->blockDepth() > depth) m_workspace->discardBlock();
    }
    bool undoLast(std::uint64_t revision) override {
        if (m_workspace->stepCount(Direction::reverse) == 0 || this->revision() != revision || depth() != 0)
            return false;
        m_workspace->undo(1);
        return true;
    }
    void redoLast() override { m_workspace->redo(1); }
    void forgetUndone() override {
        if (m_workspace->stepCount(Direction::forward) != 0) m_workspace->clear(Direction::forward);
    }
    std::string lastName() const override {
        const bool isEmpty = m_workspace->stepCount(Direction::reverse) == 0;
        return isEmpty ? std::string() : m_workspace->stepName(Direction::reverse, 0);
    }
    std::uint64_t freshRevision() const override {
        m_workspace->stepCount(Direction::reverse);
        return revision();
    }

private:
    std::shared_ptr<CWorkspace> m_workspace;
};

}  // namespace

std::shared_ptr<CUndoBlocks> kzMakeUndoBlocks(std::shared_ptr<CWorkspace> workspace) {
    return std::make_shared<CDocumentUndo>(std::move(workspace));
}

}  // namespace kzhost
