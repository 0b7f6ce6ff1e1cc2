// A text that the host writes into our buffer, however long it is.
#pragma once

#include "kz/result.h"

#include <cstring>
#include <string>

class CHostText {
public:
    // `operation(buffer, length)` is repeated with a longer buffer for as long as it finds the buffer too short. A read
    // that fails leaves the text of the last one that succeeded.
    template <class Operation> KzResult read(Operation&& operation) {
        KzResult code = KZe_SHORTBUFFER;
        std::string buffer;
        for (std::uint32_t size = firstSize; code == KZe_SHORTBUFFER && size <= lastSize; size *= 2) {
            buffer.assign(size, '\0');
            code = operation(buffer.data(), size);
        }
        if (kzFailed(code)) return code;
        buffer.resize(strnlen(buffer.data(), buffer.size()));
        m_text.swap(buffer);
        m_read = true;
        return code;
    }

    // Null when nothing was read.
    const std::string* get() const noexcept { return m_read ? &m_text : nullptr; }
    // The text so far: empty when nothing was read.
    const std::string& text() const noexcept { return m_text; }

private:
    static constexpr std::uint32_t firstSize = 256;
    static constexpr std::uint32_t lastSize = 1U << 24;  // a host that never has enough must not take all memory

    std::string m_text;
    bool m_read = false;
};
