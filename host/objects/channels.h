// Readers and writers of the channels of a scene's items.
#pragma once

#include "host/objects/item.h"

#include <string>

namespace kzhost {

IKzUnknown* kzMakeChannelRead(CHostRef<CScene> scene, std::string action, double time);
IKzUnknown* kzMakeChannelWrite(CHostRef<CScene> scene, std::string action, double time);

}  // namespace kzhost
