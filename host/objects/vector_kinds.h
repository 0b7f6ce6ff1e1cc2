// The kinds of packets that are passed along in stacks: those of modules, and the host's own.
#pragma once

#include "host/core/object.h"

#include "kz/packet.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

class CModuleTable;
class CWorkspace;

// One kind, as its server describes it. A kind without a server is one of objects that some type has named.
struct VectorKind {
    std::string name;
    CKzUser_VectorPacket server;
    std::uint32_t size = 0;          // 0 for objects
    std::optional<KzGuid> identity;  // of the objects' interface
    bool isObject() const noexcept { return size == 0; }
};
using VectorKindRef = std::shared_ptr<const VectorKind>;

class CVectorKinds {
public:
    CVectorKinds(std::shared_ptr<CModuleTable> modules, std::shared_ptr<CWorkspace> workspace)
        : m_modules(std::move(modules)), m_workspace(std::move(workspace)) {}

    // A null category stands for all.
    std::vector<std::string> names(const char* category) const;
    // Null for an unknown name, or one of another category. `place` is where a server that lies is reported.
    VectorKindRef find(const char* place, const char* category, const std::string& name) const;
    // As above, but throws NOTFOUND.
    VectorKindRef need(const char* place, const char* category, const std::string& name) const;

private:
    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<CWorkspace> m_workspace;
};

// The memory of one packet or of several in a row, as its kind wants them made and released.
class CPacketMemory {
public:
    // Throws what the kind answers when it cannot make one.
    CPacketMemory(VectorKindRef kind, std::uint32_t count);
    ~CPacketMemory();
    CPacketMemory(const CPacketMemory&) = delete;
    CPacketMemory& operator=(const CPacketMemory&) = delete;

    void* at(std::uint32_t index) { return m_bytes.get() + std::size_t{index} * m_kind->size; }
    // Makes the packet equal to one whose bytes are given.
    void take(std::uint32_t index, std::vector<std::uint8_t> source);

private:
    struct Release {
        void operator()(std::uint8_t* bytes) const noexcept { ::operator delete (bytes, std::align_val_t{64}); }
    };
    VectorKindRef m_kind;
    std::uint32_t m_made = 0;
    std::unique_ptr<std::uint8_t, Release> m_bytes;
};

// Bytes at an address that somebody else has given; nothing where that is no memory of this process.
std::optional<std::vector<std::uint8_t>> kzBytesAt(const void* address, std::size_t size);

}  // namespace kzhost
