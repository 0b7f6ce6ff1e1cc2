// The directory cache service: folders and files as browsers see them, base paths, and marks.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CImageFiles;
class CModuleTable;
class CNotifierTable;
class CPathAliases;
class CPreferences;

extern const ServiceFactory<CModuleTable, CPreferences, CImageFiles, CNotifierTable, CPathAliases>
    kzMakeDirCacheService;

}  // namespace kzhost
