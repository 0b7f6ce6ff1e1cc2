// Commands for folders and files, on disk and in the trees that modules serve.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
class CDirCache;
class CModuleTable;
class CPathAliases;

void kzAddFolderCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules,
                         const std::shared_ptr<CDirCache>& cache, const std::shared_ptr<CPathAliases>& files);

}  // namespace kzhost
