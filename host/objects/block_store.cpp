// Files of blocks. A plain store has its blocks one after the other, each behind a row of identifier, length and check
// sum; an indexed one has all bytes first, then the rows, and at its end their number.
#include "host/objects/block_store.h"

#include "host/core/reasons.h"
#include "host/objects/arguments.h"
#include "host/objects/safe_save.h"

#include "kz/base/boundary.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <utility>

namespace kzhost {

namespace {

struct Row {
    std::uint32_t ident, bytes, sum, isSummed;
};

// Throws INVALIDARG for an unknown format.
std::string_view magicOf(std::string_view format) {
    if (format == KZsBLOCKSTORE_PLAIN) return "KZBLOCKS";
    if (format == KZsBLOCKSTORE_INDEXED) return "KZBINDEX";
    throw KZe_INVALIDARG;
}

std::uint32_t checkSum(std::string_view bytes) {
    static const auto table = [] {
        std::array<std::uint32_t, 256> rows{};
        for (std::uint32_t at = 0; at < 256; ++at) {
            std::uint32_t value = at;
            for (int bit = 0; bit < 8; ++bit) value = (value & 1U) != 0 ? value >> 1U ^ 0xEDB88320U : value >> 1U;
            rows[at] = value;
        }
        return rows;
    }();
    std::uint32_t sum = ~0U;
    for (const char each : bytes) sum = table[(sum ^ static_cast<std::uint8_t>(each)) & 0xFFU] ^ sum >> 8U;
    return ~sum;
}

std::span<const KzBlock> blocksOf(const KzBlockList* layout) {
    const KzBlockList& list = kzNotNull(layout);
    if (list.count > 0 && list.blocks == nullptr) throw KZe_INVALIDARG;
    const std::span<const KzBlock> blocks(list.blocks, list.count);
    for (const KzBlock& each : blocks)
        if (each.size > 0 && each.data == nullptr) throw KZe_INVALIDARG;
    return blocks;
}

std::string bytesOf(const KzBlock& block) {
    return block.size > 0 ? std::string(static_cast<const char*>(block.data), block.size) : std::string();
}

}  // namespace

CBlockStore::CBlockStore(std::string path, std::string format, std::uint32_t flags)
    : m_path(std::move(path)), m_format(std::move(format)), m_flags(flags) {
    magicOf(m_format);
    if ((flags & KZfBLOCKSTORE_COMPRESS) != 0) throw KZe_NOTSUPPORTED;
    const bool isThere = std::filesystem::exists(m_path);
    if (isThere) load();
    else if ((flags & KZfBLOCKSTORE_CREATE) == 0) throw KZe_NOTFOUND;
    m_isChanged = !isThere;
}

CBlockStore::~CBlockStore() {
    if (m_isChanged && kzFailed(kzBoundary([this] { return blockstore_Flush(); })))
        kzBecause(KZe_IO_ERROR, "IO.OpenBlockStore", [this] { return "\"" + m_path + "\" cannot be written"; });
}

bool CBlockStore::test(const std::string& path, const std::string& format) {
    const std::string_view magic = magicOf(format);
    std::ifstream file(path, std::ios::binary);
    std::string start(magic.size(), '\0');
    return file.read(start.data(), static_cast<std::streamsize>(start.size())) && start == magic;
}

void CBlockStore::load() {
    if (!test(m_path, m_format)) throw KZe_IO_ERROR;
    std::ifstream file(m_path, std::ios::binary);
    const std::string all(std::istreambuf_iterator<char>(file), {});
    const bool isIndexed = m_format == KZsBLOCKSTORE_INDEXED;
    std::size_t at = magicOf(m_format).size(), rows = at, end = all.size();
    if (isIndexed) {
        std::uint32_t count = 0;
        if (end - at < sizeof count) throw KZe_IO_TRUNCATED;
        std::memcpy(&count, all.data() + end - sizeof count, sizeof count);
        end -= sizeof count;
        if ((end - at) / sizeof(Row) < count) throw KZe_IO_TRUNCATED;
        rows = end - count * sizeof(Row);
    }
    while (rows < end) {
        Row row{};
        if (end - rows < sizeof row) throw KZe_IO_TRUNCATED;
        std::memcpy(&row, all.data() + rows, sizeof row);
        rows += sizeof row;
        std::size_t& start = isIndexed ? at : rows;
        if (row.bytes > (isIndexed ? end : all.size()) - start) throw KZe_IO_TRUNCATED;
        m_blocks.push_back({row.ident, all.substr(start, row.bytes)});
        start += row.bytes;
        if (row.isSummed != 0 && checkSum(m_blocks.back().bytes) != row.sum) throw KZe_IO_ERROR;
    }
}

KzResult CBlockStore::blockstore_Flush() {
    needWritable();
    CSafeSave save(m_path);
    std::ofstream file(save.path(), std::ios::binary);
    const bool isIndexed = m_format == KZsBLOCKSTORE_INDEXED;
    const std::uint32_t isSummed = (m_flags & KZfBLOCKSTORE_CHECKSUM) != 0 ? 1 : 0;
    std::string rows;
    file << magicOf(m_format);
    for (const Block& block : m_blocks) {
        const Row row{block.ident, static_cast<std::uint32_t>(block.bytes.size()),
                      isSummed != 0 ? checkSum(block.bytes) : 0, isSummed};
        const std::string_view bytes(reinterpret_cast<const char*>(&row), sizeof row);
        if (isIndexed) rows += bytes;
        else file << bytes;
        file << block.bytes;
    }
    const std::uint32_t count = blockstore_Count();
    if (isIndexed) file << rows << std::string_view(reinterpret_cast<const char*>(&count), sizeof count);
    file.close();
    if (!file || kzFailed(save.commit())) return KZe_IO_ERROR;
    m_isChanged = false;
    return KZe_OK;
}

void CBlockStore::needWritable() const {
    if ((m_flags & (KZfBLOCKSTORE_WRITE | KZfBLOCKSTORE_CREATE)) == 0) throw KZe_NOACCESS;
}

CBlockStore::Block* CBlockStore::find(std::uint32_t ident) {
    const auto entry =
        std::find_if(m_blocks.begin(), m_blocks.end(), [&](const Block& block) { return block.ident == ident; });
    return entry != m_blocks.end() ? &*entry : nullptr;
}

KzResult CBlockStore::blockstore_Define(const KzBlockList* layout) {
    return m_blocks.empty() ? blockstore_Append(layout) : KZe_ALREADYEXISTS;
}

// Adds all blocks or none.
KzResult CBlockStore::blockstore_Append(const KzBlockList* layout) {
    needWritable();
    const auto blocks = blocksOf(layout);
    std::vector<Block> all = m_blocks;
    for (const KzBlock& block : blocks) {
        const auto isTaken = [&](const Block& other) { return other.ident == block.id; };
        if (std::any_of(all.begin(), all.end(), isTaken)) return KZe_REF_DUPLICATE;
        all.push_back({block.id, bytesOf(block)});
    }
    m_blocks = std::move(all);
    m_isChanged = true;
    return KZe_OK;
}

KzResult CBlockStore::blockstore_Replace(const KzBlockList* layout) {
    needWritable();
    const auto blocks = blocksOf(layout);
    for (const KzBlock& block : blocks)
        if (find(block.id) == nullptr) return KZe_REF_BADID;
    for (const KzBlock& block : blocks) find(block.id)->bytes = bytesOf(block);
    m_isChanged = true;
    return KZe_OK;
}

KzResult CBlockStore::blockstore_Info(std::uint32_t index, std::uint32_t* ident, std::uint32_t* bytes) {
    if (index >= m_blocks.size()) return KZe_OUTOFBOUNDS;
    *ident = m_blocks[index].ident;
    *bytes = static_cast<std::uint32_t>(m_blocks[index].bytes.size());
    return KZe_OK;
}

char* CBlockStore::place(std::uint32_t ident, std::uint32_t offset, std::uint32_t size, const std::uint8_t* bytes) {
    Block* block = find(ident);
    if (block == nullptr) throw KZe_REF_BADID;
    if (offset > block->bytes.size() || size > block->bytes.size() - offset) throw KZe_OUTOFBOUNDS;
    if (size > 0 && bytes == nullptr) throw KZe_INVALIDARG;
    return block->bytes.data() + offset;
}

KzResult CBlockStore::blockstore_Read(std::uint32_t ident, std::uint32_t offset, std::uint32_t size,
                                      std::uint8_t* bytes) {
    const char* from = place(ident, offset, size, bytes);
    if (size > 0) std::memcpy(bytes, from, size);
    return KZe_OK;
}

KzResult CBlockStore::blockstore_Write(std::uint32_t ident, std::uint32_t offset, std::uint32_t size,
                                       std::uint8_t* bytes) {
    needWritable();
    char* to = place(ident, offset, size, bytes);
    if (size > 0) std::memcpy(to, bytes, size);
    m_isChanged = true;
    return KZe_OK;
}

}  // namespace kzhost
