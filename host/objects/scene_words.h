// The lines of scene files: a statement each, of words, numbers and quoted texts with blanks between.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kzhost {

// What is wrong with a file, as "line 12, column 5: ...".
struct SceneFileError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Appends statements to a text. Numbers are as short as reads back to the same value.
class CSceneLines {
public:
    // Begins a statement.
    CSceneLines& line(std::string_view keyword);
    CSceneLines& word(std::string_view word);
    CSceneLines& text(std::string_view text);
    CSceneLines& number(double value);
    CSceneLines& number(float value);
    CSceneLines& integer(std::int64_t value);
    // Ends the last statement.
    std::string finish();

private:
    template <class Number> CSceneLines& append(Number value);

    std::string m_text;
};

// Reads statements, and names the place of what is wrong. The text must outlive it.
class CSceneWords {
public:
    explicit CSceneWords(std::string_view text) : m_text(text) {}

    // Goes to the next statement; false at the end. Blank lines and those that begin with # are passed over. What is left
    // of the last statement is an error.
    bool next();
    std::string_view keyword() const noexcept { return m_keyword; }
    bool hasMore() const noexcept { return m_place < m_line.size(); }
    std::size_t lineNumber() const noexcept { return m_number; }

    std::string text();
    double number();  // also one that is not finite
    double finite();
    std::int64_t integer(std::int64_t low, std::int64_t high);
    std::int32_t int32() { return static_cast<std::int32_t>(integer(INT32_MIN, INT32_MAX)); }
    std::uint32_t uint32() { return static_cast<std::uint32_t>(integer(0, UINT32_MAX)); }
    std::string_view word();
    // Leaves what is left of the statement.
    void passOver() noexcept { m_place = m_line.size(); }

    // Of the element that was read last, or of a statement that has been read.
    [[noreturn]] void fail(const std::string& what) const;
    [[noreturn]] static void failAt(std::size_t line, std::size_t column, const std::string& what);

private:
    char escaped();
    void passBlanks();

    std::string_view m_text, m_line, m_keyword;
    std::size_t m_number = 0;  // of the line, from 1
    std::size_t m_place = 0;   // in the line
    std::size_t m_start = 0;   // of the last element
};

}  // namespace kzhost
