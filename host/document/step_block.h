// One step of the history for whatever is changed while this lives.
#pragma once

#include "host/document/workspace.h"

#include <string>
#include <utility>

namespace kzhost {

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

}  // namespace kzhost
