// Strings, brackets and backslashes of typed text.
#include "host/cli/open_text.h"

namespace kzhost {

namespace {

bool isTripled(std::string_view rest, char quote) { return rest.size() >= 2 && rest[0] == quote && rest[1] == quote; }

}  // namespace

void COpenText::add(std::string_view line) {
    if (!m_isEmpty) m_text += '\n';
    m_text += line;
    m_isEmpty = false;
    m_endsInBackslash = false;
    std::string_view rest = m_quote != '\0' ? readString(line) : line;
    while (!rest.empty()) {
        const char c = rest.front();
        rest.remove_prefix(1);
        if (c == '#') return;
        if (c == '\\' && rest.empty()) m_endsInBackslash = true;
        if (c == '(' || c == '[' || c == '{') ++m_depth;
        if (c == ')' || c == ']' || c == '}') --m_depth;
        if (c != '"' && c != '\'') continue;
        m_quote = c;
        m_isLong = isTripled(rest, c);
        if (m_isLong) rest.remove_prefix(2);
        rest = readString(rest);
    }
}

// Returns what follows the string in which the text ends. A string in single quotes ends with its line, closed or not,
// unless a backslash continues it.
std::string_view COpenText::readString(std::string_view rest) {
    for (std::size_t at = 0; at < rest.size(); ++at) {
        const char c = rest[at];
        if (c == '\\') {
            m_endsInBackslash = ++at == rest.size();
        } else if (c == m_quote && (!m_isLong || isTripled(rest.substr(at + 1), c))) {
            m_quote = '\0';
            return rest.substr(at + (m_isLong ? 3 : 1));
        }
    }
    if (!m_isLong && !m_endsInBackslash) m_quote = '\0';
    return {};
}

}  // namespace kzhost
