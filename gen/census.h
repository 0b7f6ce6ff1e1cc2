// Counts what the SDK description holds.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "model.h"

namespace kzgen {

struct AdapterCensus {
    std::string name;
    std::string prefix;
    size_t forwarded = 0;
    std::map<Inert, size_t> inert;

    [[nodiscard]] size_t inertTotal() const;
};

struct Census {
    size_t headers = 0;
    std::vector<std::string> types;     // of kz.object, sorted, with the two that are not described
    std::vector<std::string> services;  // of kz.service, sorted
    size_t interfaces = 0;              // all that are described, services apart
    std::vector<AdapterCensus> adapters;
    size_t methods = 0;      // of wrapped interfaces and services: the methods that Python can call
    size_t hostMethods = 0;  // of interfaces without a wrapper
    size_t plainValueMethods = 0;
    size_t voidMethods = 0;
    std::map<std::string, size_t> parameters;  // "integer i" -> uses as an argument in those methods
    std::map<std::string, size_t> returns;     // "vector" -> uses as a return value or an output
    std::map<std::string, size_t> constants;   // by family
    std::vector<std::string> resultCodes;      // sorted
};

Census takeCensus(const Model& model);
std::string asText(const Census& census);
std::string asJson(const Census& census);

}  // namespace kzgen
