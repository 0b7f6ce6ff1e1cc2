// The interview service.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CInterviews;

extern const ServiceFactory<CInterviews> kzMakeInterviewService;

}  // namespace kzhost
