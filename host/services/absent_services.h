// Services that need what a program without windows does not have: views, a renderer, a pointer.
#pragma once

#include "kz/base/unknown.h"

#include <memory>
#include <span>

namespace kzhost {

struct ServiceContext;

struct AbsentService {
    const char* name;
    const KzGuid* iid;
    IKzUnknown* (*make)(std::shared_ptr<ServiceContext> context);
};

// Each of their methods answers NOTAVAILABLE, with the reason in the log; numbers are 0.
std::span<const AbsentService> kzAbsentServices() noexcept;

}  // namespace kzhost
