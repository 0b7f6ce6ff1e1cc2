// The line editor as the console sees it. What edits is a library of its own, loaded when somebody sits at a terminal: no
// script pays for it, and its names stay out of the way of those that the interpreter's own modules need.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace kzhost {

// What may stand where the cursor is.
struct Completion {
    std::size_t start = 0;           // of the word that the others may replace, in bytes of the line
    std::vector<std::string> words;  // in full
    std::string note;                // what helps to go on, as a signature; may have several lines
};

class ILineEditor {
public:
    enum class Read { line, interrupted, end };
    // Called with the line up to the cursor.
    using Completer = std::function<Completion(const std::string& line)>;

    virtual ~ILineEditor() = default;
    virtual void setCompleter(Completer completer) = 0;
    // Waits for a line without its end. It has several lines when a text of several was pasted. The terminal is as it was
    // before as soon as this returns.
    virtual Read read(const std::string& prompt, std::string& line) = 0;
    // Adds a line to those that can be called back.
    virtual void remember(const std::string& line) = 0;
};

// The one function that the library exports. There is one editor in a process.
inline constexpr const char* kzLineEditorEntry = "kzLineEditor";
using LineEditorEntry = ILineEditor*();

}  // namespace kzhost
