// Streams of nested blocks: values written one after another, and read back.
#pragma once

#include "host/core/object.h"

#include "kz/block_io.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

// Finds an item by its identifier, with a new reference; null if there is none.
using FindItem = std::function<IKzUnknown*(const char* ident)>;

// The content of a stream: each block is its identifier, its length and its bytes. Numbers are little-endian, texts end
// with a zero byte.
struct StreamContent {
    std::uint32_t version = 0;
    std::string bytes;
};

// Reads a file of that type. Throws NOTFOUND without a file, IO_ERROR for one of another type or that is damaged.
StreamContent kzReadStream(const std::string& path, std::uint32_t type);

class CBlockRead final : public CHosted<"block reader", CBlockRead, CKzIfc_BlockRead> {
public:
    CBlockRead(StreamContent content, FindItem findItem);

    KzResult blockread_Open(std::uint32_t* ident, std::uint32_t* bytes) override;
    KzResult blockread_Close() override;
    std::uint32_t blockread_Remaining() override { return static_cast<std::uint32_t>(end() - m_at); }
    std::uint32_t blockread_Version() override { return m_content.version; }
    KzResult blockread_ReadByte(std::int32_t* value) override;
    KzResult blockread_ReadInt(std::int32_t* value) override { return read(value, sizeof *value); }
    KzResult blockread_ReadUInt(std::uint32_t* value) override { return read(value, sizeof *value); }
    KzResult blockread_ReadFloat(float* value) override { return read(value, sizeof *value); }
    KzResult blockread_ReadDouble(double* value) override { return read(value, sizeof *value); }
    KzResult blockread_ReadString(char* value, std::uint32_t length) override;
    KzResult blockread_ReadItem(IKzUnknown** item) override;
    KzResult blockread_ReadBytes(std::uint32_t size, std::uint8_t* bytes) override;
    KzResult blockread_ReadVector(KzVector3* vector) override { return read(vector->v, sizeof vector->v); }

private:
    std::size_t end() const { return m_ends.empty() ? m_bytes.size() : m_ends.back(); }
    KzResult read(void* value, std::size_t size);
    std::string_view text() const;  // up to the next zero byte

    StreamContent m_content;
    FindItem m_findItem;
    std::string_view m_bytes;
    std::size_t m_at = 0;
    std::vector<std::size_t> m_ends;  // of the open blocks
};

class CBlockWrite final : public CHosted<"block writer", CBlockWrite, CKzIfc_BlockWrite> {
public:
    CBlockWrite(std::string path, std::uint32_t type, std::uint32_t version)
        : m_path(std::move(path)), m_type(type), m_version(version) {}
    // Writes to memory, for the one who then calls finish.
    explicit CBlockWrite(std::uint32_t version) : m_type(KZi_STREAM_BINARY), m_version(version) {}
    // Writes the file. Nobody is left to hear of a failure, so the log tells.
    ~CBlockWrite() override;

    // The bytes so far, with all blocks closed. Whoever goes on writing gets NOTAVAILABLE.
    std::string finish();

    KzResult blockwrite_Open(std::uint32_t ident) override;
    KzResult blockwrite_Close() override;
    double blockwrite_Position() override { return static_cast<double>(m_bytes.size()); }
    KzResult blockwrite_WriteByte(std::int32_t value) override;
    KzResult blockwrite_WriteInt(std::int32_t value) override;
    KzResult blockwrite_WriteUInt(std::uint32_t value) override;
    KzResult blockwrite_WriteFloat(float value) override;
    KzResult blockwrite_WriteDouble(double value) override;
    KzResult blockwrite_WriteString(const char* value) override;
    KzResult blockwrite_WriteItem(IKzUnknown* item) override;
    KzResult blockwrite_WriteBytes(std::uint32_t size, std::uint8_t* bytes) override;
    KzResult blockwrite_WriteVector(const KzVector3* vector) override;

private:
    KzResult add(const void* bytes, std::size_t size, const char* word, const std::string& shown);

    std::string m_path;
    std::uint32_t m_type, m_version;
    std::string m_bytes, m_text;        // the text is that of a stream of texts
    std::vector<std::size_t> m_starts;  // of the open blocks' bytes
    bool m_isFinished = false;
};

}  // namespace kzhost
