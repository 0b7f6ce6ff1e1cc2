// Typed lines that belong to one line of the program, because something is open that only further lines can close.
#pragma once

#include <string>
#include <string_view>

namespace kzhost {

// Reads brackets, strings and backslashes as lines are added, each once. What is typed may be wrong in any way, which is for
// the interpreter to say.
class COpenText {
public:
    // The next line, without its end. The first one begins outside of everything.
    void add(std::string_view line);
    void clear() { *this = {}; }

    // All lines so far, with line feeds between them.
    const std::string& text() const { return m_text; }
    bool empty() const { return m_isEmpty; }
    bool endsInBackslash() const { return m_endsInBackslash; }
    // Whether the next line belongs to the same line of the program.
    bool isOpen() const { return m_endsInBackslash || isInside(); }
    // Whether the text is inside brackets or a string of three quotes, where no interpreter takes it for whole.
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
