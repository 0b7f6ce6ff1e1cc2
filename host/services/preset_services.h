// The services about presets: their types and files, where they apply, and packages of several.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CPathAliases;
class CPresets;

extern const ServiceFactory<CPresets, CPathAliases> kzMakePresetBrowserService;
extern const ServiceFactory<CPresets, CPathAliases> kzMakePresetDestinationService;
extern const ServiceFactory<CPathAliases> kzMakePresetPackageService;

}  // namespace kzhost
