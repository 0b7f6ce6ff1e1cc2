// Splits a description file into tokens and comments.
#include "lexer.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

namespace kzgen {

namespace {

constexpr std::uint32_t maxColumns = 120;

bool isNameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_'; }

bool isNamePart(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; }

bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

std::string trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(" \t\r") - first + 1));
}

class Lexer {
public:
    Lexer(const SourceFile& file, Diagnostics& diagnostics) : m_file(file), m_text(file.text), m_errors(diagnostics) {}

    LexedFile run() {
        while (m_pos < m_text.size()) step();
        checkLineLength();
        emit(TokenKind::End, here(), "");
        return std::move(m_out);
    }

private:
    [[nodiscard]] char peek(std::size_t ahead = 0) const {
        return m_pos + ahead < m_text.size() ? m_text[m_pos + ahead] : '\0';
    }
    [[nodiscard]] Place here() const { return {&m_file, m_line, static_cast<std::uint32_t>(m_pos - m_lineStart) + 1}; }
    void emit(TokenKind kind, const Place& at, std::string text) {
        m_lineHasCode = true;
        m_out.tokens.push_back({kind, std::move(text), at});
    }

    void step() {
        const char c = peek();
        if (c == '\n') newLine();
        else if (c == ' ' || c == '\r') ++m_pos;
        else if (c == '/' && peek(1) == '/') comment();
        else if (isNameStart(c)) word(TokenKind::Name, &isNamePart);
        else if (isDigit(c) || (c == '-' && isDigit(peek(1)))) number();
        else if (c == '"') text();
        else if (c == '\'') charCode();
        else mark();
    }

    void newLine() {
        checkLineLength();
        ++m_pos;
        ++m_line;
        m_lineStart = m_pos;
        m_lineHasCode = false;
    }

    void checkLineLength() {
        const std::size_t columns = m_pos - m_lineStart;
        if (columns > maxColumns) {
            m_errors.error({&m_file, m_line, maxColumns + 1}, fmt::format("a line of {} columns", columns),
                           fmt::format("at most {}", maxColumns));
        }
    }

    // Comments and texts are copied into sources of several languages, so only characters that mean the same in all of them
    // are allowed.
    void checkCharacters(std::size_t start, std::size_t end) {
        for (std::size_t at = start; at < end; ++at) {
            const auto c = static_cast<unsigned char>(m_text[at]);
            const bool endOfLine = c == '\r' && (at + 1 == m_text.size() || m_text[at + 1] == '\n');
            const std::string_view here = m_text.substr(at, std::min<std::size_t>(end - at, 3));
            const Place place{&m_file, m_line, static_cast<std::uint32_t>(at - m_lineStart) + 1};
            if ((c < ' ' || c > '~') && c != '\t' && !endOfLine) {
                m_errors.error(place, fmt::format("byte 0x{:02X}", c), "ASCII characters");
                return;
            }
            if (here.size() == 3 && here.starts_with("?\?") &&
                std::string_view("=/'()!<>-").find(here[2]) != std::string_view::npos) {
                m_errors.error(place, fmt::format("the trigraph '{}'", here),
                               "no trigraph, which C++ compilers may replace");
                return;
            }
        }
    }

    // A summary may be wrapped at any blank, and a backslash at the end of a C++ comment would continue it.
    void checkBackslashes(std::size_t start, std::size_t end) {
        for (std::size_t at = start; at < end; ++at) {
            if (m_text[at] == '\\' &&
                (at + 1 == end || std::isspace(static_cast<unsigned char>(m_text[at + 1])) != 0)) {
                m_errors.error({&m_file, m_line, static_cast<std::uint32_t>(at - m_lineStart) + 1},
                               "a backslash at the end of a word", "none there, where C++ would continue the comment");
            }
        }
    }

    void comment() {
        const Place at = here();
        const std::size_t end = std::min(m_text.find('\n', m_pos), m_text.size());
        checkCharacters(m_pos, end);
        checkBackslashes(m_pos, end);
        m_out.comments.add(m_line, at.column, !m_lineHasCode, trimmed(m_text.substr(m_pos + 2, end - m_pos - 2)));
        m_pos = end;
    }

    void word(TokenKind kind, bool (*belongs)(char)) {
        const Place at = here();
        const std::size_t start = m_pos++;
        while (belongs(peek())) ++m_pos;
        emit(kind, at, std::string(m_text.substr(start, m_pos - start)));
    }

    // Takes everything that could be meant as one number. Its value is checked where its type is known.
    void number() {
        word(TokenKind::Number, [](char c) { return isNamePart(c) || c == '.'; });
        const std::string& soFar = m_out.tokens.back().text;
        const bool exponent = (soFar.back() == 'e' || soFar.back() == 'E') && soFar.find('x') == std::string::npos;
        if (exponent && (peek() == '-' || peek() == '+')) {
            Token mantissa = std::move(m_out.tokens.back());
            m_out.tokens.pop_back();
            word(TokenKind::Number, &isDigit);
            m_out.tokens.back().text.insert(0, mantissa.text);
            m_out.tokens.back().at = mantissa.at;
        }
    }

    void text() {
        const Place at = here();
        const std::size_t start = m_pos;
        std::string value;
        ++m_pos;
        while (peek() != '"') {
            if (m_pos >= m_text.size() || peek() == '\n') {
                m_errors.error(at, "a text without a closing quote", "'\"' on the same line");
                emit(TokenKind::Text, at, std::move(value));
                return;
            }
            value += peek() == '\\' ? escape() : m_text[m_pos++];
        }
        checkCharacters(start, m_pos);
        ++m_pos;
        emit(TokenKind::Text, at, std::move(value));
    }

    char escape() {
        const Place at = here();
        const char c = peek(1);
        m_pos += c == '\n' || c == '\0' ? 1 : 2;
        switch (c) {
        case '"':
        case '\\': return c;
        case 'n': return '\n';
        case 't': return '\t';
        default: m_errors.error(at, fmt::format("the escape '\\{}'", c), R"(one of \" \\ \n \t)"); return c;
        }
    }

    void charCode() {
        const Place at = here();
        const std::size_t end = m_text.find_first_of("'\n", m_pos + 1);
        const bool closed = end != std::string_view::npos && m_text[end] == '\'';
        const std::size_t stop = std::min(end, m_text.size());
        checkCharacters(m_pos, stop);
        std::string value(m_text.substr(m_pos + 1, stop - m_pos - 1));
        if (!closed || value.size() != 4) {
            m_errors.error(at, fmt::format("'{}'", value), "a code of four characters such as 'EXEC'");
            value = "0000";
        }
        m_pos = closed ? stop + 1 : stop;
        emit(TokenKind::CharCode, at, std::move(value));
    }

    void mark() {
        const char c = peek();
        if (std::string_view("[](){}<>,;:=*|").find(c) == std::string_view::npos) {
            const bool printable = std::isprint(static_cast<unsigned char>(c)) != 0;
            m_errors.error(here(), printable ? fmt::format("'{}'", c) : fmt::format("byte 0x{:02X}", std::uint8_t(c)),
                           c == '\t' ? "blanks for indentation" : "a name, a number, a text or punctuation");
            ++m_pos;
            return;
        }
        const Place at = here();
        ++m_pos;
        emit(TokenKind::Mark, at, std::string(1, c));
    }

    const SourceFile& m_file;
    std::string_view m_text;
    Diagnostics& m_errors;
    LexedFile m_out;
    std::size_t m_pos = 0;
    std::size_t m_lineStart = 0;
    std::uint32_t m_line = 1;
    bool m_lineHasCode = false;
};

void append(std::string& text, std::string_view line) {
    if (!text.empty() && !line.empty()) text += ' ';
    text += line;
}

}  // namespace

std::string describe(const Token& token) {
    switch (token.kind) {
    case TokenKind::End: return "the end of the file";
    case TokenKind::Text: return fmt::format("the text \"{}\"", token.text);
    case TokenKind::Number: return fmt::format("the number {}", token.text);
    default: return inQuotes(token.text);
    }
}

void Comments::add(std::uint32_t line, std::uint32_t column, bool ownLine, std::string text) {
    m_byLine[line] = {column, ownLine, std::move(text)};
}

const Comments::Comment* Comments::at(std::uint32_t line) const {
    const auto entry = m_byLine.find(line);
    return entry == m_byLine.end() ? nullptr : &entry->second;
}

bool Comments::continuesTrailing(std::uint32_t line) const {
    const Comment* comment = at(line);
    if (comment == nullptr || !comment->ownLine) return false;
    const Comment* above = at(line - 1);
    return above != nullptr && above->column == comment->column && (!above->ownLine || continuesTrailing(line - 1));
}

std::string Comments::above(std::uint32_t line) const {
    std::uint32_t first = line;
    while (first > 1 && at(first - 1) != nullptr && at(first - 1)->ownLine && !continuesTrailing(first - 1)) --first;
    std::string text;
    for (; first < line; ++first) append(text, at(first)->text);
    return text;
}

std::string Comments::behind(std::uint32_t line) const {
    std::string text;
    if (const Comment* comment = at(line); comment != nullptr && !comment->ownLine) {
        append(text, comment->text);
        for (std::uint32_t next = line + 1; continuesTrailing(next); ++next) append(text, at(next)->text);
    }
    return text;
}

std::string Comments::summary(std::uint32_t firstLine, std::uint32_t lastLine) const {
    std::string text = above(firstLine);
    append(text, behind(lastLine));
    return text;
}

LexedFile lex(const SourceFile& file, Diagnostics& diagnostics) { return Lexer(file, diagnostics).run(); }

}  // namespace kzgen
