// The script services: what scripts may ask about the running host.
#pragma once

#include "host/core.h"

#include <span>

// The names of the services that answer scripts.
std::span<const char* const> kzQueryServices();

// A new query object of that service; QUERY_UNKNOWN_SERVICE when it answers no scripts.
KzResult kzMakeQuery(const std::shared_ptr<CHostCore>& core, std::string_view service, IKzUnknown** query);

// The service of that name as scripts find it: it answers queries, and hands out the service itself. Null when there is
// no such service.
IKzUnknown* kzMakeNamedService(const std::shared_ptr<CHostCore>& core, std::string_view name);
