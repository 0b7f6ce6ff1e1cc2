// The root of every host interface.
#pragma once

#include "kz/base/types.h"

inline constexpr KzGuid KZu_UNKNOWN{0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0xC4}};

// Objects are reached through interfaces only. A successful query hands out a new reference; whoever holds a reference
// gives it back with Release. No operation of any interface lets an exception out.
class IKzUnknown {
public:
    virtual KzResult QueryInterface(const KzGuid* iid, void** object) = 0;
    virtual std::uint32_t AddRef() = 0;
    virtual std::uint32_t Release() = 0;

protected:
    ~IKzUnknown() = default;  // interfaces are released, never deleted
};
