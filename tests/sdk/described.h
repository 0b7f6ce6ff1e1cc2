// The SDK description itself, read once, for tests of its contents.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "gen/load.h"
#include "kz_paths.h"

namespace kzgen {

inline const Model& described() {
    static Diagnostics errors;
    static const Model model = load(KZ_SOURCE_DIR "/sdk/idl", Completeness::Whole, errors);
    EXPECT_TRUE(errors.empty()) << errors.text();
    return model;
}

// All interfaces and services, in the order of the headers.
inline std::vector<const Interface*> describedInterfaces() {
    std::vector<const Interface*> all;
    for (const Header& header : described().headers)
        for (const Interface& each : header.interfaces) all.push_back(&each);
    return all;
}

// The interface or service with that name; if there is none, an empty one and a failure of the test.
inline const Interface& describedInterface(std::string_view name, bool service = false) {
    static const Interface none;
    for (const Interface* each : describedInterfaces())
        if (each->name == name && each->service == service) return *each;
    ADD_FAILURE() << "no " << (service ? "service " : "interface ") << name;
    return none;
}

inline std::vector<std::string> words(std::string_view text) {
    std::istringstream stream{std::string(text)};
    return {std::istream_iterator<std::string>(stream), {}};
}

}  // namespace kzgen
