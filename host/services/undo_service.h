// The undo service: the history of the documents, as scripts and modules see it.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

struct OpenScenes;

extern const ServiceFactory<OpenScenes> kzMakeUndoService;

}  // namespace kzhost
