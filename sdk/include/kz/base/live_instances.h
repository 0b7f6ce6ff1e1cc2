// The live instances of a polymorph, for reports of leaked objects.
#pragma once

#include "kz/base/polymorph.h"

#include <vector>

struct KzLiveInstance {
    const CKzInstance* instance;  // identifies it; never dereferenced
    void* object;
    std::uint32_t references;  // the sum over all of its slots
};

std::vector<KzLiveInstance> kzLiveInstancesOf(const CKzGenericPolymorph& polymorph);

// The instance that an interface pointer is a slot of; null if the pointer is not a slot of this binary.
const CKzInstance* kzInstanceOf(IKzUnknown* interfacePointer) noexcept;
