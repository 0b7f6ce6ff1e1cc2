// One channel of an item: its description, and the definition of a new one.
#pragma once

#include "host/objects/item.h"

#include <string>

namespace kzhost {

IKzUnknown* kzMakeItemChannel(CHostRef<CItem> item, std::int32_t channel);
IKzUnknown* kzMakeAddChannel(CHostRef<CItem> item, std::string channel);

}  // namespace kzhost
