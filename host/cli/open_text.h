// Collects typed lines into one logical line while a bracket, a string or a backslash at the end demands another.
#pragma once

#include <string>
#include <string_view>

namespace kzhost {

// Scans brackets, strings and backslashes as lines are added, each line once. The text may be wrong in any way;
// reporting that is up to the interpreter.
class COpenText {
public:
    // Adds the next line, without its line feed.
    void add(std::string_view line);
    void clear() { *this = {}; }

    // All lines so far, with line feeds between them.
    const std::string& text() const { return m_text; }
    bool empty() const { return m_isEmpty; }
    bool endsInBackslash() const { return m_endsInBackslash; }
    // Whether the next line belongs to the same logical line.
    bool isOpen() const { return m_endsInBackslash || isInside(); }
    // Whether the text ends inside brackets or a triple-quoted string, so that it cannot be complete.
    bool isInside() const { return m_depth > 0 || (m_quote != '\0' && m_isLong); }

private:
    std::string_view readString(std::string_view rest);

    std::string m_text;
    bool m_isEmpty = true;
    int m_depth = 0;
    char m_quote = '\0';  // of the string that the text ends in
    bool m_isLong = false;
    bool m_endsInBackslash = false;
};

}  // namespace kzhost
