// The audio service: makes and loads sounds. It has no device that would play them.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CPathAliases;
class CSoundFiles;

extern const ServiceFactory<CPathAliases, CSoundFiles> kzMakeAudioService;

}  // namespace kzhost
