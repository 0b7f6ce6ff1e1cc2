// Blocks of bytes that grow, as objects.
#include "host/objects/buffer.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/objects/arguments.h"
#include "host/state/digest.h"
#include "host/state/text.h"

#include "kz/buffer.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <mutex>
#include <new>
#include <span>
#include <string>
#include <vector>

namespace kzhost {

namespace {

using Bytes = std::vector<std::uint8_t>;

// Beyond it a size is a mistake, which must not take the memory of the whole system.
constexpr std::uint64_t mostBytes = std::uint64_t{1} << 30U;

KzResult tooLarge(const char* place, std::uint64_t bytes) {
    return kzBecause(KZe_OUTOFMEMORY, place, [&] {
        return fmt::format("a buffer has up to {} bytes, and {} were asked for", mostBytes, bytes);
    });
}

// The bytes of any buffer, as far as they are there. They are fetched in parts, so that a module's buffer which says that it
// has more than it gives takes no memory for that.
Bytes readBuffer(const char* place, IKzUnknown* source, std::uint32_t offset, std::uint64_t length) {
    const CKzUser_Buffer buffer(source);
    if (!buffer)
        throw kzBecause(KZe_INVALIDARG, place,
                        [] { return "the other buffer is no object with the interface Buffer"; });
    constexpr std::uint64_t largestPart = std::uint64_t{1} << 22U;
    const auto size = static_cast<std::uint64_t>(std::max<std::intptr_t>(buffer.Size(), 0));
    const std::uint64_t there = size > offset ? std::min(size - offset, mostBytes) : 0;
    Bytes bytes;
    for (std::uint64_t missing = std::min(length, there); missing > 0;) {
        const auto asked = static_cast<std::uint32_t>(std::min(missing, largestPart));
        const std::size_t before = bytes.size();
        const std::uint64_t from = std::uint64_t{offset} + before;
        if (from > UINT32_MAX) break;  // where nobody can read
        std::uint32_t read = 0;
        bytes.resize(before + asked);
        if (const KzResult code = buffer.Read(static_cast<std::uint32_t>(from), asked, bytes.data() + before, &read);
            kzFailed(code))
            throw code;
        if (read > asked)
            throw kzBecause(KZe_FAILED, place, [&] {
                return fmt::format("the other buffer says that it read {} bytes of {}", read, asked);
            });
        bytes.resize(before + read);
        missing = read < asked ? 0 : missing - asked;
    }
    return bytes;
}

class CBuffer final : public CHosted<"buffer", CBuffer, CKzIfc_Buffer> {
public:
    std::intptr_t buff_Size() override {
        const std::lock_guard lock(m_lock);
        return static_cast<std::intptr_t>(m_bytes.size());
    }
    KzResult buff_SetSize(std::intptr_t bytes) override {
        return resize("Buffer.SetSize", bytes, [&] { m_bytes.resize(static_cast<std::size_t>(bytes)); });
    }
    std::intptr_t buff_Capacity() override {
        const std::lock_guard lock(m_lock);
        return static_cast<std::intptr_t>(m_bytes.capacity());
    }
    KzResult buff_Reserve(std::intptr_t bytes) override {
        return resize("Buffer.Reserve", bytes, [&] { m_bytes.reserve(static_cast<std::size_t>(bytes)); });
    }
    KzResult buff_Clear() override {
        const std::lock_guard lock(m_lock);
        m_bytes.clear();
        return KZe_OK;
    }
    KzResult buff_Read(std::uint32_t offset, std::uint32_t count, std::uint8_t* bytes, std::uint32_t* read) override {
        if (count > 0) kzNotNull(bytes);
        const std::lock_guard lock(m_lock);
        const std::size_t there = offset < m_bytes.size() ? m_bytes.size() - offset : 0;
        *read = static_cast<std::uint32_t>(std::min<std::size_t>(there, count));
        if (*read > 0) std::memcpy(bytes, m_bytes.data() + offset, *read);
        return KZe_OK;
    }
    KzResult buff_Write(std::uint32_t offset, std::uint32_t count, std::uint8_t* bytes) override {
        if (count > 0) kzNotNull(bytes);
        return put("Buffer.Write", offset, {bytes, count});
    }
    KzResult buff_Append(std::uint32_t count, std::uint8_t* bytes) override {
        if (count > 0) kzNotNull(bytes);
        const auto size = static_cast<std::uint64_t>(buff_Size());
        if (size + count > mostBytes) return tooLarge("Buffer.Append", size + count);
        const std::lock_guard lock(m_lock);
        m_bytes.insert(m_bytes.end(), bytes, bytes + count);
        return KZe_OK;
    }
    KzResult buff_Fill(std::uint32_t offset, std::uint32_t length, std::uint32_t value) override {
        return within("Buffer.Fill", offset, length,
                      [&] { std::fill_n(m_bytes.begin() + offset, length, static_cast<std::uint8_t>(value)); });
    }
    KzResult buff_Copy(IKzUnknown* source, std::uint32_t offset, std::uint32_t length, std::uint32_t target) override {
        const Bytes bytes = readBuffer("Buffer.Copy", source, offset, length);
        if (bytes.size() < length) return outside("Buffer.Copy", offset, length, offset + bytes.size());
        return put("Buffer.Copy", target, bytes);
    }
    KzResult buff_Compare(IKzUnknown* other, std::int32_t* order) override {
        const Bytes bytes = readBuffer("Buffer.Compare", other, 0, mostBytes);
        const std::lock_guard lock(m_lock);
        const std::size_t common = std::min(bytes.size(), m_bytes.size());
        *order = common > 0 ? std::memcmp(m_bytes.data(), bytes.data(), common) : 0;
        if (*order == 0) *order = m_bytes.size() < bytes.size() ? -1 : static_cast<int>(m_bytes.size() > bytes.size());
        return KZe_OK;
    }
    KzResult buff_GetInt(std::uint32_t offset, std::uint32_t width, std::int32_t* value) override {
        if (!isWidth(width)) return badWidth("Buffer.GetInt", width);
        return within("Buffer.GetInt", offset, width,
                      [&] { *value = static_cast<std::int32_t>(number(offset, width)); });
    }
    KzResult buff_SetInt(std::uint32_t offset, std::uint32_t width, std::int32_t value) override {
        if (!isWidth(width)) return badWidth("Buffer.SetInt", width);
        return put("Buffer.SetInt", offset, littleEndian(static_cast<std::uint32_t>(value), width));
    }
    KzResult buff_GetFloat(std::uint32_t offset, float* value) override {
        return within("Buffer.GetFloat", offset, 4,
                      [&] { *value = std::bit_cast<float>(static_cast<std::uint32_t>(number(offset, 4))); });
    }
    KzResult buff_SetFloat(std::uint32_t offset, float value) override {
        return put("Buffer.SetFloat", offset, littleEndian(std::bit_cast<std::uint32_t>(value), 4));
    }
    KzResult buff_GetString(std::uint32_t offset, char* text, std::uint32_t length) override {
        std::string found;
        const KzResult code = within("Buffer.GetString", offset, 0, [&] {
            const auto start = m_bytes.begin() + offset;
            found.assign(start, std::find(start, m_bytes.end(), 0));
        });
        return kzFailed(code) ? code : kzFillText(found, text, length);
    }
    KzResult buff_SetString(std::uint32_t offset, const char* text, std::uint32_t* bytes) override {
        const std::string written = kzString(text) + '\0';
        *bytes = static_cast<std::uint32_t>(written.size());
        return put("Buffer.SetString", offset, Bytes(written.begin(), written.end()));
    }
    KzResult buff_Hash(std::uint32_t method, char* digest, std::uint32_t length) override;
    bool buff_IsReadOnly() override { return false; }
    void* buff_Base(void** end) override {
        const std::lock_guard lock(m_lock);
        *end = m_bytes.data() + m_bytes.size();
        return m_bytes.data();
    }
    KzResult buff_ReadMatrix(std::uint32_t offset, KzMatrix4* matrix) override {
        return within("Buffer.ReadMatrix", offset, 128, [&] {
            for (std::uint32_t at = 0; at < 16; ++at)
                kzNotNull(matrix).m[at / 4][at % 4] = std::bit_cast<double>(number(offset + 8 * at, 8));
        });
    }

private:
    static bool isWidth(std::uint32_t width) { return width == 1 || width == 2 || width == 4; }
    static KzResult badWidth(const char* place, std::uint32_t width) {
        return kzBecause(KZe_INVALIDARG, place,
                         [&] { return fmt::format("an integer has 1, 2 or 4 bytes, not {}", width); });
    }
    static KzResult outside(const char* place, std::uint64_t offset, std::uint64_t length, std::uint64_t size) {
        return kzBecause(KZe_OUTOFBOUNDS, place, [&] {
            return fmt::format("{} bytes at {} are not all in the {} bytes of the buffer", length, offset, size);
        });
    }
    static Bytes littleEndian(std::uint32_t value, std::uint32_t width) {
        Bytes bytes;
        for (std::uint32_t at = 0; at < width; ++at) bytes.push_back(static_cast<std::uint8_t>(value >> 8 * at));
        return bytes;
    }
    // The lock must be held.
    std::uint64_t number(std::uint32_t offset, std::uint32_t width) const {
        std::uint64_t value = 0;
        for (std::uint32_t at = 0; at < width; ++at) value |= std::uint64_t{m_bytes[offset + at]} << 8 * at;
        return value;
    }
    // `use` runs under the lock, and only if the bytes are all there.
    template <class Use>
    KzResult within(const char* place, std::uint32_t offset, std::uint32_t length, const Use& use) {
        std::size_t size = 0;
        {
            const std::lock_guard lock(m_lock);
            size = m_bytes.size();
            if (std::uint64_t{offset} + length <= size) {
                use();
                return KZe_OK;
            }
        }
        return outside(place, offset, length, size);
    }
    template <class Resize> KzResult resize(const char* place, std::intptr_t bytes, const Resize& apply) {
        if (bytes < 0)
            return kzBecause(KZe_INVALIDARG, place, [&] { return fmt::format("there are no {} bytes", bytes); });
        if (static_cast<std::uint64_t>(bytes) > mostBytes) return tooLarge(place, static_cast<std::uint64_t>(bytes));
        const std::lock_guard lock(m_lock);
        apply();
        return KZe_OK;
    }
    KzResult put(const char* place, std::uint32_t offset, std::span<const std::uint8_t> bytes) {
        const std::uint64_t end = std::uint64_t{offset} + bytes.size();
        if (bytes.empty()) return KZe_OK;
        if (end > mostBytes) return tooLarge(place, end);
        const std::lock_guard lock(m_lock);
        if (end > m_bytes.size()) m_bytes.resize(end);
        std::copy(bytes.begin(), bytes.end(), m_bytes.begin() + offset);
        return KZe_OK;
    }

    std::mutex m_lock;
    Bytes m_bytes;
};

KzResult CBuffer::buff_Hash(std::uint32_t method, char* digest, std::uint32_t length) {
    using Digest = std::string (*)(std::span<const unsigned char> bytes);
    static constexpr Digest methods[] = {kzCrc32, kzMd5, kzSha1, kzSha256};  // in the order of i_BUFFERHASH
    if (method >= std::size(methods))
        return kzBecause(KZe_INVALIDARG, "Buffer.Hash",
                         [&] { return fmt::format("there is no method {}; they are 0 to 3", method); });
    const std::lock_guard lock(m_lock);
    return kzFillText(methods[method](m_bytes), digest, length);
}

}  // namespace

IKzUnknown* kzMakeBuffer() { return kzMakeObject<CBuffer>(); }

}  // namespace kzhost
