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
    std::size_t forwarded = 0;
    std::map<Inert, std::size_t> inert;

    [[nodiscard]] std::size_t inertTotal() const;
};

struct Census {
    std::size_t headers = 0;
    std::vector<std::string> types;     // of kz.object, sorted, with the two that are not described
    std::vector<std::string> services;  // of kz.service, sorted
    std::size_t interfaces = 0;         // all that are described, services apart
    std::vector<AdapterCensus> adapters;
    std::size_t methods = 0;      // of wrapped interfaces and services: the methods that Python can call
    std::size_t hostMethods = 0;  // of interfaces without a wrapper
    std::size_t plainValueMethods = 0;
    std::size_t voidMethods = 0;
    std::map<std::string, std::size_t> parameters;  // "integer i" -> uses as an argument in those methods
    std::map<std::string, std::size_t> returns;     // "vector" -> uses as a return value or an output
    std::map<std::string, std::size_t> constants;   // by letters
    std::vector<std::string> resultCodes;           // sorted
};

Census takeCensus(const Model& model);
std::string asText(const Census& census);
std::string asJson(const Census& census);

}  // namespace kzgen
