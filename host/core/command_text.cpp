// Command strings.
#include "host/core/command_text.h"

#include "kz/command.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace kzhost {

namespace {

bool isNameCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '.'; }
bool isWrapper(char c) { return c == '{' || c == '"'; }

class CArgumentReader {
public:
    explicit CArgumentReader(std::string_view text) : m_text(text) {}

    bool skipBlanks() {
        while (m_at < m_text.size() && kzIsBlank(m_text[m_at])) ++m_at;
        return m_at < m_text.size();
    }

    ArgumentText next() {
        ArgumentText argument;
        argument.at = m_at + 1;
        if (!takeWrapped(argument)) {
            argument.name = takeName();
            if (argument.name.empty()) takeWord(argument);
        }
        // What stands in front of a colon was the name.
        if (!argument.name.empty() && !takeWrapped(argument)) takeWord(argument);
        return argument;
    }

    // A text in braces or quotes, or a word.
    std::string first() {
        if (!skipBlanks()) return {};
        ArgumentText wrapped;
        if (takeWrapped(wrapped)) return wrapped.name + wrapped.value;
        return takeUntilBlank();
    }

    std::string_view rest() const { return m_text.substr(m_at); }

private:
    // A text in braces or quotes: the argument's name if a colon follows, otherwise its value. False if there is none.
    bool takeWrapped(ArgumentText& argument) {
        if (m_at >= m_text.size() || !isWrapper(m_text[m_at])) return false;
        argument.isQuoted = m_text[m_at] == '"';
        std::string text = argument.isQuoted ? takeQuotes() : takeBraces();
        if (argument.name.empty() && !text.empty() && m_at < m_text.size() && m_text[m_at] == ':') {
            ++m_at;
            argument.name = std::move(text);
        } else {
            requireBlank();
            argument.value = std::move(text);
        }
        return true;
    }

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
        do {
            if (m_at == m_text.size())
                throw CommandTextError{KZe_CMD_UNBALANCED_BRACES,
                                       fmt::format("the brace at position {} is not closed", start + 1)};
            if (m_text[m_at] == '{') ++depth;
            if (m_text[m_at] == '}') --depth;
            ++m_at;
        } while (depth > 0);
        return std::string(m_text.substr(start + 1, m_at - start - 2));
    }

    // Two quotes inside stand for one.
    std::string takeQuotes() {
        const std::size_t start = m_at++;
        std::string value;
        for (;; ++m_at) {
            const std::size_t end = m_text.find('"', m_at);
            if (end == std::string_view::npos)
                throw CommandTextError{KZe_CMD_UNBALANCED_BRACES,
                                       fmt::format("the quote at position {} is not closed", start + 1)};
            value += m_text.substr(m_at, end - m_at);
            m_at = end + 1;
            if (m_at == m_text.size() || m_text[m_at] != '"') return value;
            value += '"';
        }
    }

    void requireBlank() const {
        if (m_at < m_text.size() && !kzIsBlank(m_text[m_at]))
            throw CommandTextError{KZe_CMD_BAD_DEFINITION,
                                   fmt::format("a blank is expected at position {}, after the closing {}", m_at + 1,
                                               m_text[m_at - 1] == '}' ? "brace" : "quote")};
    }

    std::string takeUntilBlank() {
        const std::size_t start = m_at;
        while (m_at < m_text.size() && !kzIsBlank(m_text[m_at])) ++m_at;
        return std::string(m_text.substr(start, m_at - start));
    }

    void takeWord(ArgumentText& argument) {
        argument.value = takeUntilBlank();
        if (argument.value.empty())
            throw CommandTextError{
                KZe_CMD_ERROR_ARG_MISSING_VALUE,
                fmt::format("argument \"{}\" at position {} has no value; an empty text is written {{}}", argument.name,
                            argument.at)};
        argument.isQuery = argument.value == KZsCMD_QUERYMARK;
        argument.isQuoted = false;
    }

    std::string_view m_text;
    std::size_t m_at = 0;
};

std::string quoted(std::string_view text) {
    std::string all = "\"";
    for (const char c : text) {
        if (c == '"') all += '"';
        all += c;
    }
    return all + '"';
}

bool isBalanced(std::string_view text) {
    std::ptrdiff_t depth = 0;
    for (const char c : text) {
        depth += c == '{' ? 1 : (c == '}' ? -1 : 0);
        if (depth < 0) return false;
    }
    return depth == 0;
}

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
    while (!text.empty() && kzIsBlank(text.front())) text.remove_prefix(1);
    for (const Mark& each : marks) {
        if (!text.starts_with(each.mark)) continue;
        text.remove_prefix(each.mark.size());
        if (flags == ~0U) flags = KZfCMD_EXEC_DEFAULT;  // "as usual", to which something is added
        flags |= each.flag;
        break;
    }
    while (!text.empty() && kzIsBlank(text.front())) text.remove_prefix(1);
    return {flags, std::string(text)};
}

std::string kzFirstWord(std::string_view text, std::string_view* rest) {
    CArgumentReader reader(text);
    std::string word = reader.first();
    if (rest != nullptr) *rest = reader.rest();
    return word;
}

bool kzIsCommandName(std::string_view name) noexcept {
    constexpr std::string_view marks = "!?@";
    return !name.empty() && marks.find(name.front()) == std::string_view::npos &&
           std::none_of(name.begin(), name.end(), [](char c) { return kzIsBlank(c) || isWrapper(c) || c == '}'; });
}

void kzRequireBlankAfterName(std::string_view text) {
    std::string_view rest;
    kzFirstWord(text, &rest);
    const auto argument = std::find_if_not(rest.begin(), rest.end(), kzIsBlank);
    if (argument != rest.end() && std::find(rest.begin(), argument, ' ') == argument)
        throw CommandTextError{KZe_CMD_BAD_DEFINITION, fmt::format("a blank is expected at position {}, after the name",
                                                                   text.size() - rest.size() + 1)};
}

std::vector<ArgumentText> kzParseArguments(std::string_view text) {
    std::vector<ArgumentText> arguments;
    for (CArgumentReader reader(text); reader.skipBlanks();) arguments.push_back(reader.next());
    return arguments;
}

std::string kzWriteArgument(std::string_view name, std::string_view value) {
    const bool isPlainName = std::all_of(name.begin(), name.end(), isNameCharacter);
    std::string start = (isPlainName ? std::string(name) : quoted(name)) + ":";
    const bool isPlain =
        !value.empty() && value != KZsCMD_QUERYMARK && std::none_of(value.begin(), value.end(), [](char c) {
            return kzIsBlank(c) || isWrapper(c) || c == ':' || c == '}' || c == '|';
        });
    if (isPlain) return start += value;
    // In braces, a bar between words still makes a toggle.
    if (isBalanced(value) && value.find('|') == std::string_view::npos) return (start + '{').append(value) + '}';
    return start + quoted(value);
}

}  // namespace kzhost
