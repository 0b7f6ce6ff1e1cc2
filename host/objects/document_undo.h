// The history of documents as commands and scripts use it.
#pragma once

#include "host/core/undo_blocks.h"
#include "host/document/workspace.h"

namespace kzhost {

std::shared_ptr<CUndoBlocks> kzMakeUndoBlocks(std::shared_ptr<CWorkspace> workspace);

}  // namespace kzhost
