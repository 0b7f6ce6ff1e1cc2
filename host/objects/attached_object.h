// What an item or a document keeps to find the object that stands for it.
#pragma once

#include "host/document/item.h"

#include "kz/base/unknown.h"

namespace kzhost {

struct AttachedObject : ItemAttachment {
    virtual KzResult give(IKzUnknown** object) const = 0;
};

}  // namespace kzhost
