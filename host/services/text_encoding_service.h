// The text encoding service: the encodings that the C library converts.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

extern const ServiceFactory<> kzMakeTextEncodingService;

}  // namespace kzhost
