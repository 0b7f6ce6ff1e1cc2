// The lines of scene files.
#include "host/objects/scene_words.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <utility>

namespace kzhost {

namespace {

constexpr std::string_view theHexDigits = "0123456789abcdef";

bool isBlank(char each) { return each == ' ' || each == '\t' || each == '\r'; }

// The length of the well-formed UTF-8 sequence of several bytes that the text begins with; 0 if there is none.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
    std::uint32_t code = first & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) return 0;
        code = code << 6U | (byte(i) & 0x3FU);
    }
    constexpr std::uint32_t lowest[] = {0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    return code >= lowest[length - 2] && code <= 0x10FFFF && !isSurrogate ? length : 0;
}

}  // namespace

CSceneLines& CSceneLines::line(std::string_view keyword) {
    if (!m_text.empty()) m_text += '\n';
    m_text += keyword;
    return *this;
}

CSceneLines& CSceneLines::word(std::string_view word) {
    (m_text += ' ') += word;
    return *this;
}

// Bytes that are no UTF-8, such as those of an old file name, are escaped: the file is always UTF-8.
CSceneLines& CSceneLines::text(std::string_view text) {
    m_text += " \"";
    while (!text.empty()) {
        const char first = text.front();
        const auto byte = static_cast<unsigned char>(first);
        std::size_t length = 1;
        if (first == '"' || first == '\\') (m_text += '\\') += first;
        else if (first == '\n') m_text += "\\n";
        else if (byte >= 0x20 && byte < 0x7F) m_text += first;
        else if (byte >= 0x80 && (length = sequenceLength(text)) != 0) m_text += text.substr(0, length);
        else ((m_text += "\\x") += theHexDigits[byte >> 4U]) += theHexDigits[byte & 15U];
        text.remove_prefix(length == 0 ? 1 : length);
    }
    m_text += '"';
    return *this;
}

template <class Number> CSceneLines& CSceneLines::append(Number value) {
    char digits[32];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    return word(std::string_view(digits, end));
}

CSceneLines& CSceneLines::number(double value) { return append(value); }
CSceneLines& CSceneLines::number(float value) { return append(value); }
CSceneLines& CSceneLines::integer(std::int64_t value) { return append(value); }

std::string CSceneLines::finish() {
    m_text += '\n';
    return std::exchange(m_text, {});
}

void CSceneWords::failAt(std::size_t line, std::size_t column, const std::string& what) {
    throw SceneFileError(fmt::format("line {}, column {}: {}", line, column, what));
}

void CSceneWords::fail(const std::string& what) const { failAt(m_number, m_start + 1, what); }

void CSceneWords::passBlanks() {
    while (m_place < m_line.size() && isBlank(m_line[m_place])) ++m_place;
}

bool CSceneWords::next() {
    m_start = m_place;
    if (hasMore()) fail("the statement ends before \"" + std::string(m_line.substr(m_place, 20)) + "\"");
    do {
        if (m_text.empty()) return false;
        const std::size_t end = m_text.find('\n');
        m_line = m_text.substr(0, end);
        m_text.remove_prefix(end == std::string_view::npos ? m_text.size() : end + 1);
        ++m_number;
        m_place = 0;
        passBlanks();
    } while (!hasMore() || m_line[m_place] == '#');
    m_keyword = word();
    return true;
}

std::string_view CSceneWords::word() {
    m_start = m_place;
    while (m_place < m_line.size() && !isBlank(m_line[m_place])) ++m_place;
    const std::string_view word = m_line.substr(m_start, m_place - m_start);
    if (word.empty()) fail("the statement goes on");
    passBlanks();
    return word;
}

char CSceneWords::escaped() {
    const std::size_t escape = m_place;
    if (++m_place < m_line.size()) {
        const char kind = m_line[m_place++];
        if (kind == 'n') return '\n';
        if (kind == '"' || kind == '\\') return kind;
        if (kind == 'x' && m_place + 2 <= m_line.size()) {
            const std::size_t high = theHexDigits.find(m_line[m_place]), low = theHexDigits.find(m_line[m_place + 1]);
            m_place += 2;
            if (high < 16 && low < 16) return static_cast<char>(high << 4U | low);
        }
    }
    failAt(m_number, escape + 1, R"(an escape is \", \\, \n or \x and two digits from 0 to f)");
}

std::string CSceneWords::text() {
    m_start = m_place;
    if (!hasMore() || m_line[m_place] != '"') fail("a text in quotes belongs here");
    std::string text;
    for (++m_place; m_place < m_line.size() && m_line[m_place] != '"';)
        text += m_line[m_place] == '\\' ? escaped() : m_line[m_place++];
    if (m_place == m_line.size()) fail("the text has no closing quote");
    ++m_place;
    if (hasMore() && !isBlank(m_line[m_place])) fail("a blank belongs behind a text");
    passBlanks();
    return text;
}

double CSceneWords::number() {
    const std::string_view digits = word();
    double value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size())
        fail("\"" + std::string(digits.substr(0, 40)) + "\" is not a number");
    return value;
}

double CSceneWords::finite() {
    const double value = number();
    if (!std::isfinite(value)) fail("the number must be finite");
    return value;
}

std::int64_t CSceneWords::integer(std::int64_t low, std::int64_t high) {
    const std::string_view digits = word();
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size() || value < low || value > high)
        fail(fmt::format("\"{}\" is not an integer from {} to {}", digits.substr(0, 40), low, high));
    return value;
}

}  // namespace kzhost
