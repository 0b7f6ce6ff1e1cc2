// Commands for files of images: filters.
#pragma once

#include <memory>

namespace kzhost {

class CCommandRegistry;
class CImageFiles;
class CLogStore;
class CModuleTable;
class CPathAliases;

void kzAddImageCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules,
                        const std::shared_ptr<CLogStore>& log, const std::shared_ptr<CPathAliases>& files,
                        const std::shared_ptr<CImageFiles>& images);

}  // namespace kzhost
