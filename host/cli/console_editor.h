// Lines typed on a terminal: edited, completed and kept where the line editor is there, and as the terminal gives them
// otherwise.
#pragma once

#include "host/cli/history_file.h"
#include "host/editor/line_editor.h"

namespace kzhost {

class CKzHost;
class CLineSession;

class CConsoleEditor {
public:
    CConsoleEditor(CLineSession& session, CKzHost& host);
    ~CConsoleEditor();
    CConsoleEditor(const CConsoleEditor&) = delete;
    CConsoleEditor& operator=(const CConsoleEditor&) = delete;

    ILineEditor::Read read(const std::string& prompt, std::string& line);

private:
    CHistoryFile m_history;
    ILineEditor* m_editor;
};

}  // namespace kzhost
