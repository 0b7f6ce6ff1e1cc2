// Command strings.
#include "host/core/command_text.h"

#include "kz/command.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace kzhost {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool isNameCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '.'; }

class CArgumentReader {
public:
    explicit CArgumentReader(std::string_view text) : m_text(text) {}

    bool skipBlanks() {
        while (m_at < m_text.size() && isBlank(m_text[m_at])) ++m_at;
        return m_at < m_text.size();
    }

    ArgumentText next() {
        ArgumentText argument;
        argument.at = m_at + 1;
        argument.name = takeName();
        if (m_at < m_text.size() && m_text[m_at] == '{') argument.value = takeBraces();
        else if (m_at < m_text.size() && m_text[m_at] == '"') argument.value = takeQuotes();
        else argument.value = takeWord(argument);
        return argument;
    }

    std::string_view rest() const { return m_text.substr(m_at); }

private:
    // "key:", where a value follows directly.
    std::string takeName() {
        std::size_t end = m_at;
        while (end < m_text.size() && isNameCharacter(m_text[end])) ++end;
        if (end == m_at || end >= m_text.size() || m_text[end] != ':') return {};
        std::string name(m_text.substr(m_at, end - m_at));
        m_at = end + 1;
        return name;
    }

    std::string takeBraces() {
        const std::size_t start = m_at;
        std::size_t depth = 0;
        for (; m_at < m_text.size(); ++m_at) {
            if (m_text[m_at] == '{') ++depth;
            if (m_text[m_at] == '}' && --depth == 0) return closed(start);
        }
        throw CommandTextError{KZe_CMD_UNBALANCED_BRACES,
                               fmt::format("the brace at position {} is not closed", start + 1)};
    }

    std::string takeQuotes() {
        const std::size_t start = m_at;
        m_at = m_text.find('"', start + 1);
        if (m_at != std::string_view::npos) return closed(start);
        throw CommandTextError{KZe_CMD_UNBALANCED_BRACES,
                               fmt::format("the quote at position {} is not closed", start + 1)};
    }

    // What stands between the marks at `start` and here; nothing may follow directly.
    std::string closed(std::size_t start) {
        std::string value(m_text.substr(start + 1, m_at - start - 1));
        ++m_at;
        if (m_at < m_text.size() && !isBlank(m_text[m_at]))
            throw CommandTextError{KZe_CMD_BAD_DEFINITION,
                                   fmt::format("a blank is expected at position {}, after the closing {}", m_at + 1,
                                               m_text[m_at - 1] == '}' ? "brace" : "quote")};
        return value;
    }

    std::string takeWord(ArgumentText& argument) {
        const std::size_t start = m_at;
        while (m_at < m_text.size() && !isBlank(m_text[m_at])) ++m_at;
        std::string word(m_text.substr(start, m_at - start));
        if (word.empty())
            throw CommandTextError{
                KZe_CMD_ERROR_ARG_MISSING_VALUE,
                fmt::format("argument \"{}\" at position {} has no value; an empty text is written {{}}", argument.name,
                            argument.at)};
        argument.isQuery = word == KZsCMD_QUERYMARK;
        return word;
    }

    std::string_view m_text;
    std::size_t m_at = 0;
};

}  // namespace

MarkedCommand kzStripMarks(std::uint32_t flags, std::string_view text) {
    struct Mark {
        std::string_view mark;
        std::uint32_t flag;
    };
    constexpr Mark marks[] = {
        {KZsCMD_NOALERTS, KZfCMD_EXEC_NODIALOG | KZfCMD_EXEC_NOALERTS},
        {KZsCMD_FORCEDIALOG, KZfCMD_EXEC_FORCEDIALOG},
        {KZsCMD_NODIALOG, KZfCMD_EXEC_NODIALOG},
        {KZsCMD_SHOWDIALOG, KZfCMD_EXEC_SHOWDIALOG},
    };
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    for (const Mark& each : marks) {
        if (!text.starts_with(each.mark)) continue;
        text.remove_prefix(each.mark.size());
        if (flags == ~0U) flags = KZfCMD_EXEC_DEFAULT;  // "as usual", to which something is added
        flags |= each.flag;
        break;
    }
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    return {flags, std::string(text)};
}

std::string kzFirstWord(std::string_view text, std::string_view* rest) {
    CArgumentReader reader(text);
    if (!reader.skipBlanks()) return {};
    const bool wrapped = reader.rest().front() == '{' || reader.rest().front() == '"';
    std::string word;
    if (wrapped) {
        word = reader.next().value;
    } else {
        const std::string_view left = reader.rest();
        const auto end = std::find_if(left.begin(), left.end(), isBlank);
        word.assign(left.begin(), end);
    }
    const std::string_view left = reader.rest();
    if (rest != nullptr) *rest = wrapped ? left : left.substr(word.size());
    return word;
}

std::vector<ArgumentText> kzParseArguments(std::string_view text) {
    std::vector<ArgumentText> arguments;
    for (CArgumentReader reader(text); reader.skipBlanks();) arguments.push_back(reader.next());
    return arguments;
}

std::string kzWriteArgument(std::string_view value) {
    const bool isPlain =
        !value.empty() && value != KZsCMD_QUERYMARK && std::all_of(value.begin(), value.end(), [](char c) {
            return !isBlank(c) && c != ':' && c != '{' && c != '}' && c != '"' && c != '|';
        });
    if (isPlain) return std::string(value);
    std::ptrdiff_t depth = 0;
    bool balanced = true;
    for (const char c : value) {
        depth += c == '{' ? 1 : (c == '}' ? -1 : 0);
        balanced = balanced && depth >= 0;
    }
    // Unbalanced braces can only stand between quotes.
    return balanced && depth == 0 ? "{" + std::string(value) + "}" : "\"" + std::string(value) + "\"";
}

}  // namespace kzhost
