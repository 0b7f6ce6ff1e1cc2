// Strings, brackets and backslashes of typed text.
#include "host/open_text.h"

namespace {

class CReader {
public:
    explicit CReader(std::string_view text) : m_rest(text) {}

    bool endsOpen() {
        int depth = 0;
        while (!m_rest.empty()) {
            const char c = take();
            if (c == '\\' && (m_rest.empty() || m_rest == "\n")) return true;
            if (c == '(' || c == '[' || c == '{') ++depth;
            if (c == ')' || c == ']' || c == '}') --depth;
            if (c == '#') skipTo('\n');
            if ((c == '"' || c == '\'') && !readString(c)) return true;
        }
        return depth > 0;
    }

private:
    char take() {
        const char c = m_rest.front();
        m_rest.remove_prefix(1);
        return c;
    }

    void skipTo(char end) {
        const std::size_t found = m_rest.find(end);
        m_rest.remove_prefix(found == std::string_view::npos ? m_rest.size() : found);
    }

    // What follows the opening quote, the closing one included. False when only more lines can close it: a string of one
    // quote ends with its line, right or wrong, unless a backslash carries it on.
    bool readString(char quote) {
        const std::string_view three = quote == '"' ? "\"\"\"" : "'''";
        const bool isLong = m_rest.starts_with(three.substr(1));
        if (isLong) m_rest.remove_prefix(2);
        while (!m_rest.empty()) {
            const char c = take();
            if (c == '\\' && m_rest.empty()) return false;
            if (c == '\\') take();
            else if (!isLong && (c == '\n' || c == quote)) return true;
            else if (c == quote && m_rest.starts_with(three.substr(1))) return m_rest.remove_prefix(2), true;
        }
        return !isLong;
    }

    std::string_view m_rest;
};

}  // namespace

bool kzIsOpen(std::string_view text) { return CReader(text).endsOpen(); }
