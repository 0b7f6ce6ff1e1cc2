// From the rows of tables to the descriptions of channels.
#include "host/document/types/channel_rows.h"

#include <cmath>
#include <iterator>
#include <string>

namespace kzhost::rows {

namespace {

void addWords(ChannelInfo& channel, const char* words) {
    channel.hints = std::make_shared<COwnedHints>(std::string_view(words));
    if (std::string_view(words).find('=') != std::string_view::npos) return;  // codes have no range
    channel.minimum = 0;
    for (const auto* row = channel.hints->rows(); row->text != nullptr; ++row) channel.maximum = row->value;
}

ChannelInfo described(const ChannelRow& row, std::string name, double initial) {
    ChannelInfo channel;
    channel.name = std::move(name);
    channel.kind = row.kind;
    channel.flags = row.flags;
    channel.unit = row.units;
    channel.objectType = row.objectType;
    if (row.type != nullptr) {
        channel.type = kzFindType(row.type);
        channel.initial =
            row.initialText != nullptr ? KzCell(row.initialText) : kzCellOf(*channel.type, initial).value();
    }
    if (std::isfinite(row.minimum)) channel.minimum = row.minimum;
    if (std::isfinite(row.maximum)) channel.maximum = row.maximum;
    if (row.words != nullptr) addWords(channel, row.words);
    if (channel.minimum || channel.maximum) channel.flags |= KZfCHAN_FLOATRANGE;
    return channel;
}

// The place of a component among those of its vector, as 1 for "pos.Y"; -1 for a scalar.
int componentOf(std::string_view name) {
    if (name.size() < 3 || name[name.size() - 2] != '.') return -1;
    const std::size_t place = std::string_view("XYZRGB").find(name.back());
    return place != std::string_view::npos ? static_cast<int>(place % 3) : -1;
}

// Neighbours that differ only in their component are one vector, whether one row describes them or several.
void joinVectors(std::vector<ChannelInfo>& channels) {
    for (std::size_t first = 0, next = 0; first < channels.size(); first = next) {
        next = first + 1;
        if (componentOf(channels[first].name) != 0) continue;
        const std::string_view stem = std::string_view(channels[first].name).substr(0, channels[first].name.size() - 1);
        while (next < channels.size() && channels[next].name.size() == stem.size() + 1 &&
               channels[next].name.starts_with(stem) &&
               componentOf(channels[next].name) == static_cast<int>(next - first))
            ++next;
        if (next == first + 1) continue;
        for (std::size_t each = first; each < next; ++each) {
            channels[each].vectorSize = static_cast<std::uint32_t>(next - first);
            channels[each].flags |= KZfCHAN_VECTOR;
        }
    }
}

}  // namespace

std::vector<ChannelInfo> describe(std::span<const std::span<const ChannelRow>> groups) {
    std::vector<ChannelInfo> channels;
    for (const auto& group : groups)
        for (const ChannelRow& row : group) {
            if (row.components == nullptr) channels.push_back(described(row, row.name, row.initial[0]));
            else
                for (std::size_t i = 0; i < row.initial.size(); ++i)
                    channels.push_back(described(row, std::string(row.name) + "." + row.components[i], row.initial[i]));
        }
    joinVectors(channels);
    return channels;
}

}  // namespace kzhost::rows
