// The kinds of packets that selections have.
#include "host/objects/selection_packets.h"

#include <algorithm>

namespace kzhost {

const std::vector<PacketKindRow>& kzPacketKinds() {
    static const std::vector<PacketKindRow> rows = [] {
        std::vector<PacketKindRow> all;
        for (auto* part : {kzItemPackets, kzElementPackets, kzPlacePackets})
            for (const PacketKindRow& row : part()) all.push_back(row);
        return all;
    }();
    return rows;
}

const PacketKindRow* kzFindPacketKind(std::string_view name) {
    const auto& rows = kzPacketKinds();
    const auto match = std::find_if(rows.begin(), rows.end(), [&](const auto& row) { return name == row.name; });
    return match != rows.end() ? &*match : nullptr;
}

}  // namespace kzhost
