// The living instances of a polymorph, for reports of what was left behind.
#pragma once

#include "kz/base/polymorph.h"

#include <vector>

struct KzLiveInstance {
    const CKzInstance* instance;  // its identity, not to be followed
    void* object;
    std::uint32_t references;  // through all of its slots
};

std::vector<KzLiveInstance> kzLiveInstancesOf(const CKzGenericPolymorph& polymorph);

// The instance whose slot the pointer is; null for any interface pointer that is no slot of this binary.
const CKzInstance* kzInstanceOf(IKzUnknown* interfacePointer) noexcept;
