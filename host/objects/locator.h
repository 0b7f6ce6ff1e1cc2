// The matrices of locators, from their channels and their parents.
#pragma once

#include "host/objects/item.h"

namespace kzhost {

// Scales first, then rotates, then moves. The identity for an item that is no locator.
KzMatrix4 kzLocalMatrix(CItem& item);
KzMatrix4 kzWorldMatrix(CItem& item);

}  // namespace kzhost
