// Steps of the history.
#pragma once

#include "host/core/reasons.h"
#include "host/document/workspace.h"

#include "kz/result.h"
#include "kz/undo.h"

#include <cstddef>
#include <string>
#include <utility>

namespace kzhost {

// One step of the history for whatever is changed while this lives.
class CStepBlock {
public:
    CStepBlock(CWorkspace& workspace, std::string name) : m_workspace(workspace), m_depth(workspace.blockDepth()) {
        workspace.beginBlock(std::move(name), 0);
    }
    CStepBlock(const CStepBlock&) = delete;
    CStepBlock& operator=(const CStepBlock&) = delete;
    ~CStepBlock() { m_workspace.endBlocksAbove(m_depth); }

private:
    CWorkspace& m_workspace;
    const std::size_t m_depth;
};

// As above, but what was changed is undone unless it is kept. Without changes there is no step.
class CTentativeStep {
public:
    CTentativeStep(CWorkspace& workspace, std::string name) : m_workspace(workspace), m_depth(workspace.blockDepth()) {
        workspace.beginBlock(std::move(name), KZfUNDO_BLOCK_NOEMPTY);
    }
    CTentativeStep(const CTentativeStep&) = delete;
    CTentativeStep& operator=(const CTentativeStep&) = delete;
    ~CTentativeStep() {
        try {
            while (m_workspace.blockDepth() > m_depth) m_workspace.discardBlock();
        } catch (...) {  // somebody else is undoing: the step stays, and can be undone
            kzBecause(KZe_FAILED, "Undo", [] { return "what was changed could not be taken back"; });
        }
    }
    void keep() { m_workspace.endBlocksAbove(m_depth); }

private:
    CWorkspace& m_workspace;
    const std::size_t m_depth;
};

}  // namespace kzhost
