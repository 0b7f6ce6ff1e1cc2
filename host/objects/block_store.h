// Files of blocks that are found by their identifiers and rewritten one by one.
#pragma once

#include "host/core/object.h"

#include "kz/block_io.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kzhost {

class CBlockStore final : public CHosted<"block store", CBlockStore, CKzIfc_BlockStore> {
public:
    // Opens the file as the flags say. Throws NOTFOUND without a file that must exist, IO_ERROR for one of another format
    // or that is damaged, INVALIDARG for an unknown format, NOTSUPPORTED for compression.
    CBlockStore(std::string path, std::string format, std::uint32_t flags);
    ~CBlockStore() override;
    // True if the file is of that format.
    static bool test(const std::string& path, const std::string& format);

    KzResult blockstore_Define(const KzBlockList* layout) override;
    KzResult blockstore_Append(const KzBlockList* layout) override;
    KzResult blockstore_Replace(const KzBlockList* layout) override;
    std::uint32_t blockstore_Count() override { return static_cast<std::uint32_t>(m_blocks.size()); }
    KzResult blockstore_Info(std::uint32_t index, std::uint32_t* ident, std::uint32_t* bytes) override;
    KzResult blockstore_Read(std::uint32_t ident, std::uint32_t offset, std::uint32_t size,
                             std::uint8_t* bytes) override;
    KzResult blockstore_Write(std::uint32_t ident, std::uint32_t offset, std::uint32_t size,
                              std::uint8_t* bytes) override;
    KzResult blockstore_Flush() override;

private:
    struct Block {
        std::uint32_t ident = 0;
        std::string bytes;
    };
    void load();
    Block* find(std::uint32_t ident);
    void needWritable() const;  // throws NOACCESS
    // The bytes of the block from the offset on; throws REF_BADID or OUTOFBOUNDS.
    char* place(std::uint32_t ident, std::uint32_t offset, std::uint32_t size, const std::uint8_t* bytes);

    std::string m_path, m_format;
    std::uint32_t m_flags;
    std::vector<Block> m_blocks;
    bool m_isChanged = false;
};

}  // namespace kzhost
