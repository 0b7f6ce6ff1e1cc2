// The modifiers that the host has of its own: items whose output channels are computed from their other channels.
#pragma once

#include "host/document/item.h"

#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace kzhost {

// What a modifier is computed from: its inputs in the order of the row, each with one number, or with one for each link if the
// row reads all of them; and what its main input is at the times that it asked for.
struct HostInputs {
    const Item& item;
    double time;
    std::vector<std::vector<double>> numbers;
    std::vector<double> atTimes;

    double operator[](std::size_t input) const { return numbers[input].front(); }
};

struct HostModifier {
    struct Input {
        const char* channel;
        bool takesAllLinks = false;
    };
    const char* type;
    std::vector<Input> inputs;
    std::vector<const char*> outputs;
    std::function<std::vector<double>(const HostInputs&)> compute;  // a number for each output
    // The times at which `input` is read besides, for those that need that.
    std::function<std::vector<double>(const HostInputs&)> times = {};
};

// Null for an item that is no modifier of the host's own.
const HostModifier* kzHostModifier(const ItemType& type);
// The number of the output that the channel is.
std::optional<std::size_t> kzOutputOf(const HostModifier& modifier, std::string_view channel);
// A number from 0 to 1 that seed and step decide on.
double kzRandom(std::int32_t seed, std::int64_t step);

}  // namespace kzhost
