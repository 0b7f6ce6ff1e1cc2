// The application object.
#pragma once

#include "host/core.h"

// A new application object with one reference. It answers every service of the core.
IKzUnknown* kzMakeApplication(const std::shared_ptr<CHostCore>& core);
