// Texts that the host writes into our buffers, where a failed read must not lose the text of the one before.
#pragma once

#include "kz/base/text.h"

class CHostText {
public:
    // `operation(buffer, length)` writes the text. A read that fails leaves the text of the last one that succeeded.
    template <class Operation> KzResult read(const Operation& operation) {
        std::string text;
        const KzResult code = kzReadText(text, operation);
        if (kzFailed(code)) return code;
        m_text.swap(text);
        m_isRead = true;
        return code;
    }

    // Null if no read has succeeded.
    const std::string* get() const noexcept { return m_isRead ? &m_text : nullptr; }
    // Empty if no read has succeeded.
    const std::string& text() const noexcept { return m_text; }

private:
    std::string m_text;
    bool m_isRead = false;
};
