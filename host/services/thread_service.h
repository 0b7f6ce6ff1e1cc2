// The thread service: the global lock, atomic counters, mutexes, groups of jobs and values for each thread.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

class CJobThreads;
struct ServiceContext;

IKzUnknown* kzMakeThreadService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CJobThreads> jobThreads);

}  // namespace kzhost
