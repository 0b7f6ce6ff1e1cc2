// What the sources of references to other scenes share.
#pragma once

#include "host/document/workspace.h"

#include "kz/undo.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>

namespace kzhost {

inline constexpr const char* kzReferencePlace = "Scene.Reference";

// The same text for all paths of a file.
inline std::string kzCanonicalPath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path found = std::filesystem::weakly_canonical(path, error);
    return error ? path : found.string();
}

// A block of the history that is a step only if it is ended.
class CReferenceStep {
public:
    CReferenceStep(CWorkspace& workspace, const char* name) : m_workspace(workspace) {
        workspace.beginBlock(name, KZfUNDO_BLOCK_NOEMPTY);
        m_depth = workspace.blockDepth();
    }
    CReferenceStep(const CReferenceStep&) = delete;
    CReferenceStep& operator=(const CReferenceStep&) = delete;
    ~CReferenceStep() {
        if (m_isOver || m_workspace.blockDepth() < m_depth) return;
        try {
            m_workspace.endBlocksAbove(m_depth);
            m_workspace.discardBlock();
        } catch (...) {  // somebody else is undoing: the step stays, and can be undone
        }
    }
    void end() {
        m_isOver = true;
        m_workspace.endBlocksAbove(m_depth - 1);
    }

private:
    CWorkspace& m_workspace;
    std::size_t m_depth = 0;
    bool m_isOver = false;
};

}  // namespace kzhost
