// A line editor on the terminal: its history lasts from one session to the next, and it completes names.
#pragma once

#include "host/cli/line_session.h"

#include <string>
#include <vector>

namespace kzhost {

class CConsoleEditor {
public:
    enum class Read { line, interrupted, end };

    CConsoleEditor(CLineSession& session, CKzHost& host);
    ~CConsoleEditor();
    CConsoleEditor(const CConsoleEditor&) = delete;
    CConsoleEditor& operator=(const CConsoleEditor&) = delete;

    Read read(const std::string& prompt, std::string& line);

private:
    std::string m_historyFile;
};

// What the word that ends the line may become: names of the interpreter, or the host's commands inside a text.
std::vector<std::string> kzCompletions(CLineSession& session, CKzHost& host, const std::string& line);

}  // namespace kzhost
