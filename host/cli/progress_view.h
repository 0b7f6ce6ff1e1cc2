// Shows monitors: a bar on a terminal, lines of text elsewhere.
#pragma once

#include "host/state/monitor_board.h"

#include <cstdio>

namespace kzhost {

class CProgressView {
public:
    CProgressView(std::FILE* file, bool isTerminal) : m_file(file), m_isTerminal(isTerminal) {}
    void operator()(const MonitorState& state);

private:
    std::FILE* m_file;
    bool m_isTerminal;
    int m_shown = -1;  // the percentage or tenth that is on show
    bool m_isOpen = false;
};

}  // namespace kzhost
