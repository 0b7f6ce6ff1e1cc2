// The kinds of packets that are passed along in stacks: those of modules, and the host's own.
#include "host/objects/vector_kinds.h"

#include "host/core/module_table.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/document/workspace.h"
#include "host/objects/selection_packets.h"
#include "host/state/text.h"

#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>
#include <sys/uio.h>
#include <unistd.h>
#include <utility>

namespace kzhost {

namespace {

constexpr std::uint32_t mostBytesOfPacket = 1U << 20U;  // a server that says more is mistaken

std::string tagOfKind(const KzServer& server, std::string_view tag) {
    for (const auto& [name, text] : CModuleTable::tagsOf(server))
        if (name == tag) return text;
    return {};
}

// The interface of the objects, by the tag or else by the identity to which the server points.
std::optional<KzGuid> identityOfKind(const KzServer& server, const CKzUser_VectorPacket& kind) {
    if (const std::string text = tagOfKind(server, KZsTAG_PACKET_INTERFACE); !text.empty()) return kzGuidOfText(text);
    void* identity = nullptr;
    if (kzFailed(kind.Interface(&identity)) || identity == nullptr) return {};
    const auto bytes = kzBytesAt(identity, sizeof(KzGuid));
    if (!bytes) return {};
    KzGuid guid{};
    std::memcpy(&guid, bytes->data(), sizeof guid);
    return guid;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> kzBytesAt(const void* address, std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    const iovec here{bytes.data(), size};
    const iovec there{const_cast<void*>(address), size};
    if (process_vm_readv(getpid(), &here, 1, &there, 1, 0) != static_cast<ssize_t>(size)) return {};
    return bytes;
}

std::vector<std::string> CVectorKinds::names(const char* category) const {
    std::vector<std::string> all;
    if (category == nullptr)
        for (const PacketKindRow& row : kzPacketKinds()) all.emplace_back(row.name);
    for (const KzServer& server : m_modules->servers(KZa_VECTORPACKET)) {
        if (category != nullptr && tagOfKind(server, KZsTAG_PACKET_CATEGORY) != category) continue;
        if (std::find(all.begin(), all.end(), server.name) == all.end()) all.push_back(server.name);
    }
    return all;
}

VectorKindRef CVectorKinds::find(const char* place, const char* category, const std::string& name) const {
    auto kind = std::make_shared<VectorKind>();
    kind->name = name;
    if (const PacketKindRow* row = category == nullptr ? kzFindPacketKind(name) : nullptr) {
        kind->server.hold(row->make(m_workspace));
        kind->size = kzPacketSize;
        return kind;
    }
    const auto server = m_modules->find(KZa_VECTORPACKET, name);
    if (!server || (category != nullptr && tagOfKind(*server, KZsTAG_PACKET_CATEGORY) != category)) return nullptr;
    CKzLoc_Unknown object;
    kind->server.set(CModuleTable::spawn(*server, object).raw());
    if (!kind->server) return nullptr;
    kind->size = kind->server.Size();
    if (kind->size > mostBytesOfPacket)
        throw kzBecause(KZe_FAILED, place, [&] {
            return fmt::format("the packet \"{}\" says that it has {} bytes; {} is the most", name, kind->size,
                               mostBytesOfPacket);
        });
    if (kind->isObject()) kind->identity = identityOfKind(*server, kind->server);
    return kind;
}

VectorKindRef CVectorKinds::need(const char* place, const char* category, const std::string& name) const {
    if (auto kind = find(place, category, name)) return kind;
    throw kzBecause(KZe_NOTFOUND, place, [&] { return kzThereIsNo("kind of packet", name, names(category)); });
}

CPacketMemory::CPacketMemory(VectorKindRef kind, std::uint32_t count) : m_kind(std::move(kind)) {
    const std::size_t bytes = std::max<std::size_t>(std::size_t{count} * m_kind->size, 1);
    m_bytes.reset(static_cast<std::uint8_t*>(::operator new (bytes, std::align_val_t{64})));
    std::memset(m_bytes.get(), 0, bytes);
    const auto cleanUp = [this] {
        while (m_made > 0) m_kind->server.Cleanup(at(--m_made));
    };
    for (; m_made < count; ++m_made)
        if (const KzResult code = m_kind->server.Initialize(at(m_made)); kzRefuses(code)) {
            cleanUp();
            throw code;
        }
}

CPacketMemory::~CPacketMemory() {
    while (m_made > 0) m_kind->server.Cleanup(at(--m_made));
}

void CPacketMemory::take(std::uint32_t index, std::vector<std::uint8_t> source) {
    const KzResult code = m_kind->server.Copy(at(index), source.data());
    if (code == KZe_NOTIMPL) std::memcpy(at(index), source.data(), std::min<std::size_t>(source.size(), m_kind->size));
    else kzDemand(code);
}

}  // namespace kzhost
