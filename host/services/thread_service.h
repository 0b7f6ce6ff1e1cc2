// The thread service: the global lock, atomic counters, mutexes, groups of jobs and values for each thread.
#pragma once

#include "host/services/service_factory.h"

namespace kzhost {

class CJobThreads;

extern const ServiceFactory<CJobThreads> kzMakeThreadService;

}  // namespace kzhost
