// Listeners that modules offer as servers, and what they hear when a module's servers change.
#pragma once

#include "kz/base/types.h"

#include <string>

class CHostCore;

// Reads the servers of a module again and tells who listens. NOTFOUND when there is no such module.
KzResult kzUpdateModule(CHostCore& core, const std::string& name);

// Makes and attaches those that do not listen yet. One that cannot be made is told in the log and not tried again.
void kzAttachListenerServers(CHostCore& core);
