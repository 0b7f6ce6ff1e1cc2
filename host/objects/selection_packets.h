// The kinds of packets that selections have. The object of a kind is a packet's description, and translates its packets.
#pragma once

#include "host/document/workspace.h"
#include "host/objects/arguments.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

struct PacketKindRow {
    const char* name;        // that of the selection type
    const KzGuid* identity;  // by which Packet.PacketByInterface finds it; null for none
    IKzUnknown* (*make)(std::shared_ptr<CWorkspace> workspace);
};
// By subject; each is defined in the source of that name.
std::vector<PacketKindRow> kzItemPackets();
std::vector<PacketKindRow> kzElementPackets();
std::vector<PacketKindRow> kzPlacePackets();
// Those that the document can translate.
const std::vector<PacketKindRow>& kzPacketKinds();
// Null for an unknown name.
const PacketKindRow* kzFindPacketKind(std::string_view name);

// The bytes of a packet, which are its address.
inline constexpr std::uint32_t kzPacketSize = sizeof(void*);

}  // namespace kzhost
